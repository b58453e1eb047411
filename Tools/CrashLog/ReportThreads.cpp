#include "Tools/CrashLog/ReportThreads.h"

#include "Tools/CrashLog/ProcessMemory.h"
#include "Tools/CrashLog/StackWalker.h"
#include "Tools/CrashLog/Symbols.h"

#include "CrashReporter/CrashLogHead.h"

#include <numeric>
#include <optional>

namespace {

using Clock = std::chrono::steady_clock;

/*! Indices of the threads, that of the crashed one first: should time run out, it has the most of it. */
std::vector<std::size_t> threadsByImportance(const CrashedProcess &process)
{
    std::vector<std::size_t> order(process.threads.size());
    std::iota(order.begin(), order.end(), 0);
    std::swap(order.front(), order[process.crashedThread]);
    return order;
}

Stack stackWithoutWalk(const Registers &registers)
{
    Stack stack;
    stack.innermost.push_back({registers.programCounter, false});
    return stack;
}

/*! The stack of each thread; of those that could not be stopped an empty one. */
std::vector<Stack> walkStacks(const CrashedProcess &process, Dwfl *images, Detail detail,
                              Clock::time_point deadline)
{
    ProcessMemory memory(process.record.process);
    std::optional<StackWalker> walker;
    if (images && detail != Detail::NoStacks)
        walker.emplace(images, process.record.process, process.regions, memory);
    std::vector<Stack> stacks(process.threads.size());
    for (const std::size_t index : threadsByImportance(process)) {
        if (const auto &registers = process.threads[index].registers)
            stacks[index] = walker ? walker->walk(*registers, deadline) : stackWithoutWalk(*registers);
    }
    return stacks;
}

/*! Writes frames, with their functions where these are to be looked up. */
class FrameWriter
{
public:
    FrameWriter(JSONWriter &json, const std::vector<Image> &images, Symbols *symbols)
        : m_json(json)
        , m_images(images)
        , m_symbols(symbols)
    { }

    void write(const Stack &stack)
    {
        m_json.beginArray("frames");
        write(stack.innermost);
        if (stack.omitted > 0)
            writeRemark("... " + std::to_string(stack.omitted) + " frames are left out here");
        write(stack.outermost);
        if (stack.isUnfinished)
            writeRemark("... and more, for which there was no time");
        m_json.endArray();
    }

private:
    void write(const std::vector<Frame> &frames)
    {
        for (const Frame &frame : frames) {
            if (!m_symbols) {
                write(frame, {});
                continue;
            }
            for (const SourceFrame &source : m_symbols->at(frame.codeAddress()))
                write(frame, source);
        }
    }

    void write(const Frame &frame, const SourceFrame &source)
    {
        m_json.beginObject();
        const Image *const image = imageAt(m_images, frame.codeAddress());
        m_json.number("imageOffset", frame.address - (image ? image->start : 0));
        if (image)
            m_json.number("imageIndex", image - m_images.data());
        if (!source.symbol.empty())
            m_json.string("symbol", source.symbol);
        // A part that the compiler moved away may lie before the start of its function.
        if (source.symbolStart != 0 && source.symbolStart <= frame.address)
            m_json.number("symbolLocation", frame.address - source.symbolStart);
        if (source.line > 0) {
            m_json.string("sourceFile", source.file);
            m_json.number("sourceLine", source.line);
        }
        if (source.isInlined)
            m_json.boolean("inline", true);
        m_json.endObject();
    }

    /*! A line in the place of a frame. */
    void writeRemark(std::string_view text)
    {
        m_json.beginObject();
        m_json.number("imageOffset", 0);
        m_json.string("symbol", text);
        m_json.endObject();
    }

    JSONWriter &m_json;
    const std::vector<Image> &m_images;
    Symbols *const m_symbols;
};

/*! A line in the place of a thread. */
void writeRemark(JSONWriter &json, std::string_view text)
{
    json.beginObject();
    json.string("name", text);
    json.beginArray("frames");
    json.endArray();
    json.endObject();
}

} // namespace

void writeThreads(JSONWriter &json, const CrashedProcess &process, Dwfl *images, Detail detail,
                  Clock::time_point deadline)
{
    const Clock::time_point start = Clock::now();
    const std::vector<Stack> stacks = walkStacks(process, images, detail, start + (deadline - start) / 2);
    std::optional<Symbols> symbols;
    if (images && detail == Detail::Everything)
        symbols.emplace(images, deadline);
    FrameWriter frames(json, process.images, symbols ? &*symbols : nullptr);

    json.number("faultingThread", process.crashedThread);
    json.beginArray("threads");
    for (std::size_t i = 0; i < stacks.size(); ++i) {
        const Thread &thread = process.threads[i];
        json.beginObject();
        json.number("id", thread.id);
        if (!thread.name.empty())
            json.string("name", thread.name);
        if (i == process.crashedThread) {
            json.boolean("triggered", true);
            writeThreadState(json, process.record);
        }
        frames.write(stacks[i]);
        json.endObject();
    }
    if (process.omittedThreads > 0)
        writeRemark(json, "... " + std::to_string(process.omittedThreads) + " threads are left out here");
    json.endArray();
}
