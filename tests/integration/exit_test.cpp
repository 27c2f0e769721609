#include "tests/integration/stage.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

#include <fstream>

using ::testing::IsEmpty;

namespace {

// Processes that end while their session check logs out, each at another moment.
class ExitTest : public Stage {
protected:
    static constexpr int PROCESSES = 24;
    static constexpr int STEP_MICROSECONDS = 500;

    std::string Fifo(int process) const { return Directory() + "/go" + std::to_string(process); }

    std::unique_ptr<Process> StartProbe(int process, const Array& array)
    {
        EXPECT_EQ(0, mkfifo(Fifo(process).c_str(), S_IRUSR | S_IWUSR));
        const Process::Arguments command = {ProgramPath("exit_probe"),
                                            std::to_string(process * STEP_MICROSECONDS),
                                            Fifo(process),
                                            "admin",
                                            PASSWORD,
                                            array.Url(0),
                                            array.Url(1)};
        return std::make_unique<Process>(command);
    }
};

TEST_F(ExitTest, ProcessEndsCleanlyAtEachMomentOfALogout)
{
    ArrayOptions options;
    options.managementIps = {Address(0), Address(1), Address(2)};
    options.further = {"--session-limit", "1000"};
    const Array& array = StartArray(options);
    std::vector<std::unique_ptr<Process>> probes;
    for (int process = 0; process < PROCESSES; ++process) {
        probes.push_back(StartProbe(process, array));
    }
    for (const auto& probe : probes) {
        probe->AwaitLine("ready");
    }
    // The array closes the connections, as it does when nobody has used them for long: each logout opens a new one.
    for (const std::size_t address : {0U, 1U}) {
        array.SetListening(address, false);
        array.SetListening(address, true);
    }
    for (int process = 0; process < PROCESSES; ++process) {
        const std::ofstream go(Fifo(process));
    }
    for (const auto& probe : probes) {
        EXPECT_EQ(0, probe->Wait()) << probe->Errors();
        EXPECT_THAT(probe->Errors(), IsEmpty());
    }
}

} // namespace
