#ifndef PRODUCT_STORAGE_TESTS_FAKES_FAKES_H
#define PRODUCT_STORAGE_TESTS_FAKES_FAKES_H

#include "tests/fakes/fake_cert.h"
#include "tests/fakes/fake_clock.h"
#include "tests/fakes/fake_config.h"
#include "tests/fakes/fake_http.h"
#include "tests/fakes/fake_log.h"
#include "tests/fakes/fake_node.h"
#include "tests/fakes/fake_san.h"
#include "tests/fakes/fake_shell.h"

#include <gtest/gtest.h>

/// A second provider of the framework's symbols and of the library's clocks: a program that links it has no other.
///
/// What stands behind the symbols lives as long as the program, because the library's own thread and singletons do;
/// FakesTest empties it for each test. All of it may be used from any thread.
namespace Fakes {

FakeLog& Log();
FakeConfig& Config();
FakeHttp& Http();
FakeShell& Shell();
FakeClock& Clock();
FakeRandom& Random();
FakeProductRoot& ProductRoot();
FakeCert& Certificates();
FakeSan& San();

void ClearAll();

} // namespace Fakes

/// The base of every fixture: fresh fakes, by the names that the stories use.
class FakesTest : public ::testing::Test {
protected:
    FakesTest() { Fakes::ClearAll(); }

    FakeLog& m_log = Fakes::Log();
    FakeConfig& m_config = Fakes::Config();
    FakeHttp& m_http = Fakes::Http();
    FakeShell& m_shell = Fakes::Shell();
    FakeClock& m_clock = Fakes::Clock();
    FakeRandom& m_random = Fakes::Random();
    FakeProductRoot& m_productRoot = Fakes::ProductRoot();
    FakeCert& m_cert = Fakes::Certificates();
    FakeSan& m_san = Fakes::San();
};

#endif
