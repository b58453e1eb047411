#include "Tools/CrashLog/StackWalker.h"

#include <deque>

namespace {

constexpr std::size_t maximumInnermost = 384;
constexpr std::size_t maximumOutermost = 128;

/*! What one walk found so far. */
class Walk
{
public:
    explicit Walk(StackWalker::Deadline deadline)
        : m_deadline(deadline)
    { }

    void append(const Frame &frame)
    {
        if (m_stack.innermost.size() < maximumInnermost)
            m_stack.innermost.push_back(frame);
        else
            m_outermost.push_back(frame);
        if (m_outermost.size() > maximumOutermost) {
            m_outermost.pop_front();
            ++m_stack.omitted;
        }
    }

    /*! Takes a frame from elfutils and says whether to go on. */
    bool take(Dwfl_Frame *frame)
    {
        Dwarf_Addr address = 0;
        bool isActivation = false;
        if (!dwfl_frame_pc(frame, &address, &isActivation))
            return false;
        append(m_isInsideCall ? Frame{address + 1, true} : Frame{address, !isActivation});
        m_isInsideCall = false;
        m_stack.isUnfinished = std::chrono::steady_clock::now() > m_deadline;
        return !m_stack.isUnfinished;
    }

    /*! The next frame's program counter will be that of registersBeforeCall(). */
    void expectInsideCall() { m_isInsideCall = true; }

    Stack finish()
    {
        m_stack.outermost.assign(m_outermost.begin(), m_outermost.end());
        return std::move(m_stack);
    }
    bool isEmpty() const { return m_stack.innermost.empty(); }

private:
    const StackWalker::Deadline m_deadline;
    Stack m_stack;
    std::deque<Frame> m_outermost;
    bool m_isInsideCall = false;
};

} // namespace

const Dwfl_Thread_Callbacks StackWalker::callbacks{
    .next_thread = [](Dwfl *, void *, void **) -> pid_t { return 0; }, // Threads are asked for by number.
    .get_thread =
        [](Dwfl *, pid_t, void *walker, void **argument) {
            *argument = walker;
            return true;
        },
    .memory_read =
        [](Dwfl *, Dwarf_Addr address, Dwarf_Word *result, void *walker) {
            const auto word = static_cast<StackWalker *>(walker)->m_memory.word(address);
            *result = word.value_or(0);
            return word.has_value();
        },
    .set_initial_registers =
        [](Dwfl_Thread *thread, void *walker) {
            const Registers &registers = static_cast<StackWalker *>(walker)->m_registers;
            dwfl_thread_state_register_pc(thread, registers.programCounter);
            return dwfl_thread_state_registers(thread, 0, Registers::count, registers.numbered.data());
        },
    .detach = nullptr,
    .thread_detach = nullptr,
};

StackWalker::StackWalker(Dwfl *images, pid_t process, const std::vector<Region> &regions,
                         ProcessMemory &memory)
    : m_images(images)
    , m_process(process)
    , m_regions(regions)
    , m_memory(memory)
{
    dwfl_attach_state(images, nullptr, process, &callbacks, this);
}

Stack StackWalker::walk(const Registers &registers, Deadline deadline)
{
    Walk walk(deadline);
    m_registers = registers;
    if (!isCode(registers.programCounter)) {
        const auto before = registersBeforeCall(registers, m_memory);
        if (before && isCode(before->programCounter)) {
            walk.append({registers.programCounter, false});
            walk.expectInsideCall();
            m_registers = *before;
        }
    }
    dwfl_getthread_frames(
        m_images, m_process,
        [](Dwfl_Frame *frame, void *argument) -> int {
            return static_cast<Walk *>(argument)->take(frame) ? DWARF_CB_OK : DWARF_CB_ABORT;
        },
        &walk);
    if (walk.isEmpty())
        walk.append({registers.programCounter, false});
    return walk.finish();
}

bool StackWalker::isCode(std::uint64_t address) const
{
    const Region *const region = regionAt(m_regions, address);
    return region && region->isExecutable();
}
