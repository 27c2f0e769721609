#include "tests/fakes/fakes.h"

#include <memory>

namespace {

struct World {
    FakeLog log;
    FakeConfig config;
    FakeHttp http;
    FakeShell shell;
    FakeClock clock;
    FakeRandom random;
    FakeProductRoot productRoot;
    FakeCert certificates;
    FakeSan san;
};

// Never destroyed: the library's singletons log while the program ends.
World& TheWorld()
{
    static World* const world = std::make_unique<World>().release();
    return *world;
}

} // namespace

FakeLog& Fakes::Log()
{
    return TheWorld().log;
}

FakeConfig& Fakes::Config()
{
    return TheWorld().config;
}

FakeHttp& Fakes::Http()
{
    return TheWorld().http;
}

FakeShell& Fakes::Shell()
{
    return TheWorld().shell;
}

FakeClock& Fakes::Clock()
{
    return TheWorld().clock;
}

FakeRandom& Fakes::Random()
{
    return TheWorld().random;
}

FakeProductRoot& Fakes::ProductRoot()
{
    return TheWorld().productRoot;
}

FakeCert& Fakes::Certificates()
{
    return TheWorld().certificates;
}

FakeSan& Fakes::San()
{
    return TheWorld().san;
}

void Fakes::ClearAll()
{
    Log().Clear();
    Config().Clear();
    Http().Clear();
    Shell().Clear();
    Clock().Clear();
    Random().Clear();
    ProductRoot().Clear();
    Certificates().Clear();
    San().Clear();
}
