#include "tests/unit/rest/rest_test.h"
#include "tests/unit/system_calls.h"
#include "tests/unit/virtual_slot.h"

#include <boost/thread/exceptions.hpp>

#include <cerrno>

using ::testing::HasSubstr;

namespace {

class ZavRestApiConstructionTest : public FakesTest {};

TEST_F(ZavRestApiConstructionTest, EachObjectHasItsOwnClient)
{
    const ZavRestApi first("");
    const ZavRestApi second("");
    EXPECT_EQ(2, m_http.ClientsMade());
}

TEST_F(ZavRestApiConstructionTest, TheOptionTextGoesIntoEveryRequest)
{
    ZavRestApi api("tls=1");
    TMSHttpRequest request;
    api.BuildBaseRequest(request, "lun");
    EXPECT_EQ("tls=1", request.optionText);
}

TEST_F(ZavRestApiConstructionTest, ANewObjectIsLoggedOut)
{
    ZavRestApi api("");
    Zav::SessionInfo session;
    EXPECT_FALSE(api.GetSession(session));
}

std::string ConstructionError(const std::string& function, int error)
{
    SystemCalls calls;
    calls.Fail(function, error);
    try {
        const ZavRestApi api("");
        return "constructed";
    } catch (const boost::thread_resource_error& failure) {
        return failure.what();
    }
}

TEST_F(ZavRestApiConstructionTest, AMutexThatCannotBeMadeIsAnErrorThatNamesTheStep)
{
    EXPECT_THAT(ConstructionError("pthread_mutexattr_init", ENOMEM),
                HasSubstr("boost:: recursive_mutex constructor failed in pthread_mutexattr_init"));
    EXPECT_THAT(ConstructionError("pthread_mutexattr_settype", EINVAL),
                HasSubstr("boost:: recursive_mutex constructor failed in pthread_mutexattr_settype"));
    EXPECT_THAT(ConstructionError("pthread_mutex_init", EAGAIN),
                HasSubstr("boost:: recursive_mutex constructor failed in pthread_mutex_init"));
    EXPECT_EQ("constructed", ConstructionError("none of these", 0));
}

TEST_F(ZavRestApiConstructionTest, TheDestructorAndTheSessionOperationsHaveTheFirstSlots)
{
    EXPECT_EQ(2, SlotOf(&ZavRestApi::Login)); // behind the destructor's two
    EXPECT_EQ(3, SlotOf(&ZavRestApi::Logout));
    EXPECT_EQ(4, SlotOf(&ZavRestApi::GetSession));
}

} // namespace
