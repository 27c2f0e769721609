#include "tests/integration/failure_stage.h"

#include <gmock/gmock.h>

namespace {

/// What is told of a cleanup that the array ends half-way.
class ZavctlCleanupTest : public FailureStage {
protected:
    /// A prepared node whose array refuses to delete the LUN group.
    void Prepare(const Array& array, const std::string& env) const
    {
        ASSERT_EQ(0, RunZavctl({"init", "--env", env}).status);
        array.AddFault(R"({"kind": "code", "code": 1090519057, "description": "mapped", "method": "DELETE", )"
                       R"("target": "lungroup/[0-9]+$", "count": 0})");
    }

    void ExpectRefusal(const Array& array, const std::string& url, const std::string& env) const
    {
        ExpectEnding({"cleanup", "--env", env},
                     {9,
                      url + ": cleanup stopped with code 1090519057; the record stays in " + ZavctlRecordPath(array) +
                          ": the array refused: \"mapped\" (1090519057)",
                      "the object is in use: take out on the array what is in it or holds it, or leave it"});
    }
};

TEST_F(ZavctlCleanupTest, AddressAtWhichNobodyIsIsNoCauseOfARefusal)
{
    ArrayOptions options;
    options.managementIps = {Address(0), Address(1)};
    const Array& array = StartServedArray(options);
    const std::string env = EnvironmentFileOf(array);
    Prepare(array, env);
    array.SetListening(0, false);
    ExpectRefusal(array, array.Url(1), env);
}

TEST_F(ZavctlCleanupTest, ObjectThatIsGoneAlreadyIsNoCauseOfARefusal)
{
    const Array& array = StartServedArray();
    const std::string env = EnvironmentFileOf(array);
    Prepare(array, env);
    array.DeleteBehindBack("mappingview", array.Ids("mappingview").at(0));
    ExpectRefusal(array, array.Url(), env);
}

} // namespace
