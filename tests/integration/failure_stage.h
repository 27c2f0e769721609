#ifndef PRODUCT_STORAGE_TESTS_INTEGRATION_FAILURE_STAGE_H
#define PRODUCT_STORAGE_TESTS_INTEGRATION_FAILURE_STAGE_H

#include "tests/integration/stage.h"

#include <string>
#include <utility>

/// How a command that fails ends: with this status, and with the cause and its remedy as the last two lines.
struct Ending {
    int status;
    std::string cause; ///< with "N" for a time or a version, "NAME" for a name that was drawn
    std::string remedy;
};

/// zavctl where something is wrong.
class FailureStage : public Stage {
protected:
    static constexpr double SOON = 12; ///< seconds
    static constexpr double AFTER_THREE_ADDRESSES = 33;

    /// The command fails so, within that many seconds.
    void ExpectEnding(const Process::Arguments& arguments, const Ending& ending, double seconds = SOON) const;

    /// The same of one that has ended.
    static void ExpectEnding(const Base::ProgramResult& outcome, const Ending& ending);

    /// What stands before zavctl in the following commands, and their further variables.
    void RunBehind(Process::Arguments words) { m_before = std::move(words); }
    void Set(const std::string& variable) { m_variables.push_back(variable); }

    /// Without the rights that root has over files of anybody.
    void RunWithoutRightsOverFiles();

    /// An executable for the node's commands, which is found before the stand-in.
    void MakeCommand(const std::string& name, const std::string& script) const;

    static void AwaitRequest(const Array& array, const std::string& start);

private:
    Process::Arguments m_before;
    Process::Arguments m_variables;
};

#endif
