#include "common/framework/log_proxy.h"

#include "framework/log/log_output.h"

#include <exception>
#include <locale>
#include <streambuf>
#include <string>

using Framework::LogOutput;
using Framework::LogRecord;

namespace {

/// Collects what is streamed in a text.
class TextBuffer : public std::streambuf {
public:
    const std::string& Text() const { return m_text; }

    /// Makes room for another text in the same memory, unless that is more than usual.
    void Clear()
    {
        constexpr std::size_t USUAL_SIZE = 4096;
        m_text.clear();
        if (m_text.capacity() > USUAL_SIZE) {
            std::string().swap(m_text);
        }
    }

protected:
    int_type overflow(int_type character) override
    {
        if (!traits_type::eq_int_type(character, traits_type::eof())) {
            m_text += traits_type::to_char_type(character);
        }
        return traits_type::not_eof(character);
    }

    std::streamsize xsputn(const char* bytes, std::streamsize count) override
    {
        m_text.append(bytes, static_cast<std::size_t>(count));
        return count;
    }

private:
    std::string m_text;
};

} // namespace

struct LogProxy::Line {
    Line()
        : stream(&buffer)
    {
        stream.imbue(std::locale::classic()); // numbers look the same whatever locale the program has
    }

    /// A line that begins; null when there is no memory for it, and it is lost.
    [[gnu::noinline]] static std::unique_ptr<Line> Begin(int level, std::string_view moduleName,
                                                         unsigned long requestId, std::string_view functionName,
                                                         int number) noexcept
    {
        try {
            std::unique_ptr<Line> line = TakeSpare();
            if (line == nullptr) {
                line = std::make_unique<Line>();
            }
            line->Reset(level, moduleName, requestId, functionName, number);
            return line;
        } catch (const std::exception&) {
            return nullptr;
        }
    }

    [[gnu::noinline]] static void End(std::unique_ptr<Line>&& line) noexcept
    {
        line->record.text = line->buffer.Text();
        LogOutput::Instance().Write(line->record);
        KeepAsSpare(std::move(line));
    }

    [[gnu::noinline]] void Take(int value)
    {
        if (isCodeOpen) {
            isCodeOpen = false;
            record.code = value;
        } else {
            Text() << value;
        }
    }

    std::ostream& Text()
    {
        isCodeOpen = false;
        stream.clear(); // a null text that was streamed must not silence all that follows
        return stream;
    }

private:
    static constexpr std::streamsize USUAL_PRECISION = 6;

    struct Spare {
        Spare() = default;
        Spare(const Spare&) = delete;
        Spare& operator=(const Spare&) = delete;
        ~Spare() { isOver = true; }
        std::unique_ptr<Line> line;
        inline static thread_local bool isOver = false; // is there still when the rest is gone
    };

    static Spare& OwnSpare() noexcept
    {
        thread_local Spare spare;
        return spare;
    }

    /// The line that this thread wrote last, kept for the next: a stream costs more to make than to write to. Empty
    /// within a line, and at the thread's end.
    static std::unique_ptr<Line> TakeSpare() noexcept { return Spare::isOver ? nullptr : std::move(OwnSpare().line); }

    static void KeepAsSpare(std::unique_ptr<Line> line) noexcept
    {
        if (!Spare::isOver) {
            OwnSpare().line = std::move(line);
        }
    }

    void Reset(int level, std::string_view moduleName, unsigned long requestId, std::string_view functionName,
               int number)
    {
        isCodeOpen = true;
        buffer.Clear();
        stream.clear();
        stream.flags(std::ios::dec | std::ios::skipws); // whatever the line before set
        stream.precision(USUAL_PRECISION);
        stream.width(0);
        stream.fill(' ');
        record.code = 0;
        record.level = level;
        record.moduleName = moduleName;
        record.requestId = requestId;
        record.functionName = functionName;
        record.line = number;
    }

    LogRecord record;
    bool isCodeOpen = true; ///< nothing was streamed yet
    TextBuffer buffer;
    std::ostream stream;
};

// A line that is left out passes here, and nowhere else: what one that is written needs is in functions of its own, for
// which nothing is prepared.

LogProxy::LogProxy(int level, std::string_view moduleName, unsigned long requestId, std::string_view functionName,
                   int line)
    : m_line(LogOutput::Wants(level) ? Line::Begin(level, moduleName, requestId, functionName, line) : nullptr)
{
}

LogProxy::~LogProxy()
{
    if (m_line != nullptr) {
        Line::End(std::move(m_line));
    }
}

LogProxy& LogProxy::operator<<(int value)
{
    if (m_line != nullptr) {
        m_line->Take(value);
    }
    return *this;
}

std::ostream& LogProxy::Text()
{
    return m_line->Text();
}
