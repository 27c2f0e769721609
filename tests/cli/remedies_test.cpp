#include "cli/console/remedies.h"
#include "simulator/array/codes.h"
#include "simulator/cluster/cluster_codes.h"
#include "tests/support/files.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <regex>
#include <string>

namespace {

/// "NAME = 7" of a header's text: each name with its number.
std::map<std::string, std::int64_t> NumbersIn(const std::string& text)
{
    const std::regex definition("(\\w+) = (-?[0-9]+)[;,]");
    std::map<std::string, std::int64_t> numbers;
    for (std::sregex_iterator each(text.begin(), text.end(), definition), end; each != end; ++each) {
        numbers[(*each)[1].str()] = std::stoll((*each)[2].str());
    }
    return numbers;
}

std::string Header(const std::string& path)
{
    return ReadText(std::string(SOURCE_DIRECTORY) + "/" + path);
}

void ExpectRemedy(const std::string& name, std::int64_t code)
{
    const std::string general = RemedyFor("the array refused", ExitCode::Refused);
    for (const std::string& cause : {"the array refused: \"no\" (" + std::to_string(code) + ")",
                                     "cannot read it, code " + std::to_string(code) + ": no"}) {
        EXPECT_NE(general, RemedyFor(cause, ExitCode::Refused)) << name << ": " << cause;
    }
}

TEST(RemediesTest, EachCodeThatTheLibraryKnowsHasOne)
{
    const std::string header = Header("common/result_codes.h");
    const auto codes = NumbersIn(header.substr(header.find("namespace ArrayCode")));
    ASSERT_GT(codes.size(), 10U);
    for (const auto& [name, code] : codes) {
        ExpectRemedy(name, code);
    }
}

TEST(RemediesTest, EachCodeOfTheSimulatorsHasOne)
{
    for (const ZavSim::CodeInfo& info : ZavSim::AllCodes()) {
        if (info.code != ZavSim::Code::Success) {
            ExpectRemedy(info.name, static_cast<std::int64_t>(info.code));
        }
    }
    for (const ZavSim::ClusterCodeInfo& info : ZavSim::AllClusterCodes()) {
        if (info.code != ZavSim::ClusterCode::Success) {
            ExpectRemedy(info.name, static_cast<std::int64_t>(info.code));
        }
    }
}

TEST(RemediesTest, EachExitCodeOfAFailureHasOneOfItsOwn)
{
    std::map<std::string, std::string> names;
    const auto codes = NumbersIn(Header("cli/console/exit_code.h"));
    ASSERT_GT(codes.size(), 10U);
    for (const auto& [name, code] : codes) {
        if (code != 0) {
            const std::string remedy = RemedyFor("it failed", static_cast<ExitCode>(code));
            EXPECT_NE("", remedy) << name;
            EXPECT_TRUE(names.emplace(remedy, name).second) << name << " and " << names[remedy];
        }
    }
    EXPECT_EQ("", RemedyFor("", ExitCode::Done));
}

TEST(RemediesTest, NumberThatIsPartOfAnotherIsNoCode)
{
    EXPECT_EQ(RemedyFor("no", ExitCode::Refused), RemedyFor("no (10779490060)", ExitCode::Refused));
    EXPECT_EQ(RemedyFor("no", ExitCode::Refused), RemedyFor("no, code 4010: no", ExitCode::Refused));
}

TEST(RemediesTest, UserWhoMayNotIsToldSoWhateverWasToBeDone)
{
    EXPECT_EQ(RemedyFor("", ExitCode::NoPermission), RemedyFor("environment x (-401)", ExitCode::NoPermission));
}

TEST(RemediesTest, BundleThatCannotBeWrittenHasTheOneOfItsReason)
{
    const auto remedyFor = [](const std::string& why) {
        return RemedyFor("bundle /tmp/case.tar.gz: " + why, ExitCode::Unusable);
    };
    EXPECT_EQ("make room on that file system, then run the command again", remedyFor("No space left on device"));
    const std::string elsewhere =
        "name a file that is not there yet, in a folder that you may write, or add --overwrite";
    EXPECT_EQ(elsewhere, remedyFor("File exists"));
    EXPECT_EQ(elsewhere, remedyFor("No such file or directory"));
}

} // namespace
