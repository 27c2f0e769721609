#include "tests/unit/rest/rest_test.h"
#include "tests/unit/virtual_slot.h"

#include <boost/thread/exceptions.hpp>

#include <cerrno>
#include <pthread.h>

using ::testing::HasSubstr;

// The program's calls of the functions below come here first (a linker's option), to fail where a test wants them to.
namespace {

enum class Failing { Nothing, AttributeInit, AttributeSetType, MutexInit };

thread_local Failing failing = Failing::Nothing;

} // namespace

extern "C" {

int __real_pthread_mutexattr_init(pthread_mutexattr_t* attributes);
int __real_pthread_mutexattr_settype(pthread_mutexattr_t* attributes, int kind);
int __real_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes);

int __wrap_pthread_mutexattr_init(pthread_mutexattr_t* attributes)
{
    return failing == Failing::AttributeInit ? ENOMEM : __real_pthread_mutexattr_init(attributes);
}

int __wrap_pthread_mutexattr_settype(pthread_mutexattr_t* attributes, int kind)
{
    return failing == Failing::AttributeSetType ? EINVAL : __real_pthread_mutexattr_settype(attributes, kind);
}

int __wrap_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes)
{
    return failing == Failing::MutexInit ? EAGAIN : __real_pthread_mutex_init(mutex, attributes);
}

} // extern "C"

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

std::string ConstructionError(Failing place)
{
    failing = place;
    std::string text;
    try {
        const ZavRestApi api("");
        text = "constructed";
    } catch (const boost::thread_resource_error& error) {
        text = error.what();
    }
    failing = Failing::Nothing;
    return text;
}

TEST_F(ZavRestApiConstructionTest, AMutexThatCannotBeMadeIsAnErrorThatNamesTheStep)
{
    EXPECT_THAT(ConstructionError(Failing::AttributeInit),
                HasSubstr("boost:: recursive_mutex constructor failed in pthread_mutexattr_init"));
    EXPECT_THAT(ConstructionError(Failing::AttributeSetType),
                HasSubstr("boost:: recursive_mutex constructor failed in pthread_mutexattr_settype"));
    EXPECT_THAT(ConstructionError(Failing::MutexInit),
                HasSubstr("boost:: recursive_mutex constructor failed in pthread_mutex_init"));
    EXPECT_EQ("constructed", ConstructionError(Failing::Nothing));
}

TEST_F(ZavRestApiConstructionTest, TheDestructorAndTheSessionOperationsHaveTheFirstSlots)
{
    EXPECT_EQ(2, SlotOf(&ZavRestApi::Login)); // behind the destructor's two
    EXPECT_EQ(3, SlotOf(&ZavRestApi::Logout));
    EXPECT_EQ(4, SlotOf(&ZavRestApi::GetSession));
}

} // namespace
