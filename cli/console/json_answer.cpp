#include "cli/console/json_answer.h"

#include "base/files.h"
#include "base/json_writing.h"
#include "cli/console/report.h"

#include <json/writer.h>

#include <unistd.h>

#include <condition_variable>
#include <memory>
#include <mutex>

namespace JsonAnswer {

namespace {

enum class Whose { Nobodys, TheCommands, TheEnds };

struct Answer {
    std::mutex mutex;
    std::condition_variable never;
    bool isExpected = false;      // guarded by mutex
    Whose whose = Whose::Nobodys; // guarded by mutex
};

// Never destroyed: a thread may be in there when the process ends.
Answer& TheAnswer()
{
    static Answer* const answer = std::make_unique<Answer>().release();
    return *answer;
}

// Whether the end may answer. From then on the command may not.
bool TakeForTheEnd()
{
    Answer& answer = TheAnswer();
    const std::lock_guard<std::mutex> guard(answer.mutex);
    if (!answer.isExpected || answer.whose != Whose::Nobodys) {
        return false;
    }
    answer.whose = Whose::TheEnds;
    return true;
}

} // namespace

void Expect()
{
    Answer& answer = TheAnswer();
    const std::lock_guard<std::mutex> guard(answer.mutex);
    answer.isExpected = true;
}

void Begin()
{
    Answer& answer = TheAnswer();
    std::unique_lock<std::mutex> guard(answer.mutex);
    answer.never.wait(guard, [&answer] { return answer.whose != Whose::TheEnds; });
    answer.whose = Whose::TheCommands;
}

void PrintLast(const std::string& cause, const std::string& remedy, int exit)
{
    if (!TakeForTheEnd()) {
        return;
    }
    Json::Value answer;
    answer["schema"] = Report::SCHEMA;
    answer["error"]["cause"] = cause;
    answer["error"]["remedy"] = remedy;
    answer["error"]["exit"] = exit;
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "  ";
    Base::WriteWhole(STDOUT_FILENO, Base::WriteJson(builder, answer) + "\n");
}

} // namespace JsonAnswer
