#include "tests/integration/stage.h"
#include "tests/support/exposition_reader.h"

#include <gmock/gmock.h>

#include <boost/filesystem/operations.hpp>

#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <ctime>

using ::testing::HasSubstr;

namespace {

/// What monitoring reads of `zavctl init --metrics`.
class ZavctlMetricsTest : public Stage {
protected:
    std::string Path() const { return Directory() + "/metrics/product_storage.prom"; }

    ZavctlMetricsTest() { boost::filesystem::create_directories(Directory() + "/metrics"); }

    ExpositionReader Read() const { return ExpositionReader(ReadText(Path())); }

    static double Of(const ExpositionReader& metrics, const std::string& name, const std::string& environment,
                     ExpositionReader::Labels labels = {})
    {
        labels["environment"] = environment;
        return metrics.Value("product_storage_" + name, labels);
    }

    /// Waits until a round left this behind.
    void Await(const std::string& name, const std::string& environment, double value,
               const ExpositionReader::Labels& labels = {}) const
    {
        WaitUntil(name,
                  [&] { return boost::filesystem::exists(Path()) && Of(Read(), name, environment, labels) == value; });
    }

    double Rounds() const { return Read().Value("product_storage_round_duration_seconds_count"); }

    void AwaitRounds(double more) const
    {
        const double before = Rounds();
        WaitUntil("rounds", [&] { return Rounds() >= before + more; });
    }
};

TEST_F(ZavctlMetricsTest, OneInitTellsWhatItCameTo)
{
    const Array& array = StartServedArray();
    const std::string env = EnvironmentFileOf(array);
    const std::time_t before = std::time(nullptr);
    const mode_t mask = ::umask(077);
    const Base::ProgramResult outcome = RunZavctl({"init", "--env", env, "--metrics", Path()});
    ::umask(mask);
    ASSERT_EQ(0, outcome.status) << outcome.errors;

    const ExpositionReader metrics = Read();
    EXPECT_EQ(1, Of(metrics, "prepared", env));
    EXPECT_EQ(0, Of(metrics, "drift", env));
    EXPECT_EQ(1, Of(metrics, "iscsi_sessions", env, {{"state", "up"}}));
    EXPECT_EQ(0, Of(metrics, "iscsi_sessions", env, {{"state", "down"}}));
    EXPECT_EQ(1, Of(metrics, "service_addresses", env));
    EXPECT_EQ(1, Of(metrics, "array_info", env, {{"url", array.Url()}, {"device_key", array.Options().serial}}));
    EXPECT_GE(Of(metrics, "last_success_timestamp_seconds", env), static_cast<double>(before));
    EXPECT_GE(metrics.Value("product_storage_last_round_timestamp_seconds"), static_cast<double>(before));
    EXPECT_GT(metrics.Value("product_storage_last_round_duration_seconds"), 0);
    EXPECT_EQ(1, Rounds());
    EXPECT_EQ(0U, metrics.Samples().count("product_storage_watch_interval_seconds"));

    struct stat file = {};
    ASSERT_EQ(0, ::stat(Path().c_str(), &file));
    EXPECT_EQ(0644U, file.st_mode & 07777U) << "node_exporter is another user";
    const boost::filesystem::directory_iterator files(Directory() + "/metrics");
    EXPECT_EQ(1, std::distance(files, boost::filesystem::directory_iterator())) << "nothing is left beside it";
}

TEST_F(ZavctlMetricsTest, OneOfTwoArraysThatFailsIsToldWithItsCause)
{
    const Array& array = StartServedArray();
    const std::string env = EnvironmentFileOf(array);
    const std::string other = EnvironmentFileOf(StartArray());
    Change(other, "\"admin\"", "\"nobody\"");
    EXPECT_EQ(3, RunZavctl({"init", "--env", env, "--env", other, "--metrics", Path()}).status);
    const ExpositionReader metrics = Read();
    EXPECT_EQ(1, Of(metrics, "prepared", env));
    EXPECT_EQ(0, Of(metrics, "failures_total", env, {{"cause", "login_refused"}}));
    EXPECT_EQ(0, Of(metrics, "unprepared", env, {{"cause", "login_refused"}}));
    EXPECT_EQ(0, Of(metrics, "prepared", other));
    EXPECT_EQ(1, Of(metrics, "unprepared", other, {{"cause", "login_refused"}}));
    EXPECT_EQ(1, Of(metrics, "failures_total", other, {{"cause", "login_refused"}}));
    EXPECT_EQ(0, Of(metrics, "last_success_timestamp_seconds", other));
}

TEST_F(ZavctlMetricsTest, EnvironmentThatCannotBeReadIsAFailureOfAll)
{
    const Array& array = StartArray();
    const std::string env = EnvironmentFileOf(array);
    const std::string missing = Directory() + "/missing.json";
    EXPECT_EQ(7, RunZavctl({"init", "--env", env, "--env", missing, "--metrics", Path()}).status);
    for (const std::string& each : {env, missing}) {
        EXPECT_EQ(0, Of(Read(), "prepared", each));
        EXPECT_EQ(1, Of(Read(), "failures_total", each, {{"cause", "unusable"}}));
    }
}

TEST_F(ZavctlMetricsTest, WatchTellsEachRoundLossRecoveryAndRebuild)
{
    ArrayOptions options;
    options.managementIps = {Address(0), Address(1)};
    const Array& array = StartServedArray(options);
    const std::string env = EnvironmentFileOf(array);
    Change(env, ", \"" + Address(1) + "\"", ""); // which is the test's own
    const auto zavctl = StartZavctl({"init", "--env", env, "--watch", "1", "--metrics", Path()});
    Await("prepared", env, 1);
    EXPECT_EQ(1, Read().Value("product_storage_watch_interval_seconds"));
    AwaitRounds(2);

    array.SetListening(0, false);
    Await("unprepared", env, 1, {{"cause", "unreachable"}});
    EXPECT_EQ(0, Of(Read(), "prepared", env));
    array.SetListening(0, true);
    Await("unprepared", env, 0, {{"cause", "unreachable"}});
    EXPECT_EQ(1, Of(Read(), "prepared", env));
    EXPECT_LE(1, Of(Read(), "failures_total", env, {{"cause", "unreachable"}}));
    EXPECT_EQ(0, Of(Read(), "rebuilds_total", env));

    array.DeleteBehindBack("mappingview", array.Ids("mappingview").at(0));
    Await("rebuilds_total", env, 1);
    EXPECT_EQ(1, Of(Read(), "prepared", env));

    zavctl->Signal(SIGTERM);
    EXPECT_EQ(0, zavctl->Wait());
    EXPECT_EQ(1, Of(Read(), "prepared", env)) << "the last round's stays";
}

TEST_F(ZavctlMetricsTest, WatchTellsARefusedLoginUntilItIsPutRight)
{
    const Array& array = StartServedArray();
    const std::string env = EnvironmentFileOf(array);
    const std::string right = ReadText(env);
    Change(env, "\"admin\"", "\"nobody\"");
    const auto zavctl = StartZavctl({"init", "--env", env, "--watch", "1", "--metrics", Path()});
    Await("unprepared", env, 1, {{"cause", "login_refused"}});
    WriteText(env, right);
    Await("unprepared", env, 0, {{"cause", "login_refused"}});
    EXPECT_EQ(1, Of(Read(), "prepared", env));
    EXPECT_EQ(1, Of(Read(), "failures_total", env, {{"cause", "login_refused"}})) << "it was not repeated";
    zavctl->Signal(SIGTERM);
    EXPECT_EQ(0, zavctl->Wait());
}

TEST_F(ZavctlMetricsTest, PasswordThatChangesUnderAWatchIsTriedOnceAndToldAsRefused)
{
    ArrayOptions options;
    options.managementIps = {Address(0), Address(1)};
    const Array& array = StartServedArray(options);
    const std::string env = EnvironmentFileOf(array);
    // Longer than the library keeps a session that lies idle.
    const auto zavctl = StartZavctl({"init", "--env", env, "--watch", "8", "--metrics", Path()});
    Await("prepared", env, 1);
    array.AddFault(R"({"kind": "code", "code": 1090519041, "description": "wrong", "method": "POST", )"
                   R"("target": "sessions", "count": 0})");
    array.ClearJournal();
    Await("unprepared", env, 1, {{"cause", "login_refused"}});
    zavctl->AwaitError("waiting for another environment or configuration");
    array.ClearFaults();
    WriteText(env, ReadText(env) + "\n"); // which says as much as before: the array has the password again
    Await("prepared", env, 1);
    EXPECT_EQ(1, Of(Read(), "failures_total", env, {{"cause", "login_refused"}}));
    zavctl->Signal(SIGTERM);
    EXPECT_EQ(0, zavctl->Wait());
    const std::vector<std::string> requests = array.Requests();
    EXPECT_EQ(2, std::count(requests.begin(), requests.end(), "POST sessions"))
        << "one that was refused, one that was not";
}

TEST_F(ZavctlMetricsTest, FileThatCannotBeWrittenIsToldOnceAndStopsNothing)
{
    const Array& array = StartServedArray();
    const std::string folder = Directory() + "/gone";
    const std::string path = folder + "/product_storage.prom";
    const auto zavctl = StartZavctl({"init", "--env", EnvironmentFileOf(array), "--watch", "1", "--metrics", path});
    const std::string told = "zavctl: warning: " + path + ": metrics cannot be written: No such file or directory\n";
    zavctl->AwaitError(told);
    array.ClearJournal();
    const auto rounds = [&] {
        const std::vector<std::string> requests = array.Requests();
        return std::count_if(requests.begin(), requests.end(),
                             [](const std::string& each) { return each.rfind("GET mappingview", 0) == 0; });
    };
    WaitUntil("further rounds", [&] { return rounds() > 4; });
    EXPECT_EQ(std::string::npos, zavctl->Errors().find(told, zavctl->Errors().find(told) + 1)) << "told twice";

    boost::filesystem::create_directories(folder);
    WaitUntil("the file", [&] { return boost::filesystem::exists(path); });
    boost::filesystem::remove_all(folder);
    WaitUntil("it to be told anew", [&] {
        const std::string errors = zavctl->Errors();
        return errors.find(told, errors.find(told) + 1) != std::string::npos;
    });
    zavctl->Signal(SIGTERM);
    EXPECT_EQ(0, zavctl->Wait());
}

TEST_F(ZavctlMetricsTest, NothingButAFileIsReplaced)
{
    const Array& array = StartServedArray();
    ASSERT_EQ(0, ::mkfifo(Path().c_str(), 0600));
    const Base::ProgramResult outcome = RunZavctl({"init", "--env", EnvironmentFileOf(array), "--metrics", Path()});
    EXPECT_EQ(0, outcome.status);
    EXPECT_THAT(outcome.errors, HasSubstr("zavctl: warning: " + Path() +
                                          ": metrics cannot be written: it is there, and no regular file\n"));
    EXPECT_EQ(boost::filesystem::fifo_file, boost::filesystem::status(Path()).type());
}

TEST_F(ZavctlMetricsTest, FileIsOnlyWrittenWhereItIsAskedFor)
{
    const Array& array = StartServedArray();
    const std::string env = EnvironmentFileOf(array);
    EXPECT_EQ(0, RunZavctl({"init", "--env", env}).status);
    const Base::ProgramResult outcome = RunZavctl({"init", "--env", env, "--metrics", ""});
    EXPECT_TRUE(boost::filesystem::is_empty(Directory() + "/metrics"));
    EXPECT_EQ(2, outcome.status);
    EXPECT_THAT(outcome.errors, HasSubstr("--metrics: names no file"));
}

} // namespace
