#include "CrashReporter/MappedImage.h"

#include "CrashReporter/FixedText.h"

#include <charconv>
#include <fcntl.h>
#include <optional>
#include <unistd.h>

namespace {

/*! More than any process has, and read in a moment. */
constexpr int maximumMappings = 1'000'000;

/*! Reads a file line by line; a line that is too long is cut. */
class LineReader
{
public:
    explicit LineReader(const char *path)
        : m_descriptor(::open(path, O_RDONLY | O_CLOEXEC))
    { }
    ~LineReader()
    {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
    }
    LineReader(const LineReader &) = delete;
    LineReader &operator=(const LineReader &) = delete;

    /*! Valid until the next call; nil at the end. */
    std::optional<std::string_view> next()
    {
        FixedText line(m_line);
        for (;;) {
            if (m_position == m_length && !fill())
                return std::nullopt;
            const char byte = m_buffer[m_position++];
            if (byte == '\n')
                return line.view();
            line.append({&byte, 1});
        }
    }

private:
    bool fill()
    {
        const ssize_t count = ::read(m_descriptor, m_buffer, sizeof m_buffer);
        m_position = 0;
        m_length = count > 0 ? static_cast<std::size_t>(count) : 0;
        return count > 0;
    }

    const int m_descriptor;
    std::size_t m_position = 0;
    std::size_t m_length = 0;
    char m_buffer[1024];
    char m_line[PATH_MAX + 128];
};

/*! A line such as `7f1c2a000000-7f1c2a021000 r-xp 00001000 08:01 1234    /usr/lib/libexample.so`. */
struct Mapping
{
    explicit Mapping(std::string_view line)
    {
        const char *const lineEnd = line.data() + line.size();
        const std::from_chars_result first = std::from_chars(line.data(), lineEnd, begin, 16);
        if (first.ptr != lineEnd)
            std::from_chars(first.ptr + 1, lineEnd, end, 16);
        const std::size_t slash = line.find('/');
        if (slash != std::string_view::npos)
            path = line.substr(slash);
    }

    std::uint64_t begin = 0;
    std::uint64_t end = 0;
    std::string_view path;
};

} // namespace

MappedImage::MappedImage(std::uint64_t address)
{
    bool isFound = false;
    LineReader maps("/proc/self/maps");
    for (int count = 0; count < maximumMappings; ++count) {
        const std::optional<std::string_view> line = maps.next();
        if (!line)
            break;
        const Mapping mapping(*line);
        const bool continues = !mapping.path.empty() && mapping.path == path;
        if (isFound && !continues)
            return; // The parts of an image lie side by side.
        if (!continues) {
            base = mapping.begin;
            FixedText(path).append(mapping.path);
        }
        size = mapping.end - base;
        isFound = isFound || (!mapping.path.empty() && mapping.begin <= address && address < mapping.end);
    }
    if (!isFound) {
        base = 0;
        size = 0;
        path[0] = '\0';
    }
}

std::string_view MappedImage::name() const
{
    const std::string_view whole(path);
    return whole.substr(whole.rfind('/') + 1);
}
