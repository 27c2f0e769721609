#include "common/framework/log_proxy.h"

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace {

struct SignatureCase {
    std::string_view signature;
    std::string_view name;
};

std::ostream& operator<<(std::ostream& stream, const SignatureCase& example)
{
    return stream << example.signature;
}

class GetFunctionNameTest : public testing::TestWithParam<SignatureCase> {};

TEST_P(GetFunctionNameTest, SignatureGivesTheOperationsOwnName)
{
    EXPECT_EQ(GetParam().name, GetFunctionName(GetParam().signature));
}

constexpr SignatureCase PLAIN[] = {
    {"int ZavRestApi::Logout(std::string&)", "Logout"},
    {"Logout", "Logout"},
    {"", ""},
    {"void Run()", "Run"},
    {"virtual int B<int, 1>::v(std::vector<T> (&)[2]) [T = int, N = 1]", "v"},
    {"static void {anonymous}::A::st()", "st"},
    {"decltype(auto) da()", "da"},
    {"std::string f[abi:cxx11](int)", "f"},
};
INSTANTIATE_TEST_SUITE_P(Plain, GetFunctionNameTest, testing::ValuesIn(PLAIN));

constexpr SignatureCase GCC[] = {
    {"B<T, N>::B() [with T = int; int N = 1]", "B"},
    {"B<T, N>::~B() [with T = int; int N = 1]", "~B"},
    {"{anonymous}::A::~A()", "~A"},
    {"C::<lambda()>", "C"},
    {"<lambda()>", "lambda"},
    {"{anonymous}::<lambda(int)>", "lambda"},
    {"C::D::deep()::<lambda()>::<lambda()>", "deep"},
    {"{anonymous}::A::m() const::<lambda(auto:1)> mutable [with auto:1 = int]", "m"},
    {"T {anonymous}::A::tm(T, std::map<int, T>) [with T = int]", "tm"},
    {"{anonymous}::A::tm<int>(int, std::map<int, int, std::less<int>, std::allocator<std::pair<const int, int> > "
     ">)::L::q()::<lambda()>",
     "q"},
    {"void {anonymous}::A::tm(T, std::map<int, T>)::L::q() [with T = int]", "q"},
    {"decltype ((t + 1)) dt(T) [with T = char; decltype ((t + 1)) = int]", "dt"},
    {"void B<T, N>::t(U) [with U = main()::<lambda(int)>; T = int; int N = 1]", "t"},
    {"int {anonymous}::A::operator[](int) &&", "operator[]"},
    {"bool {anonymous}::A::operator<(int) const &", "operator<"},
    {"{anonymous}::A& {anonymous}::A::operator<<(int)", "operator<<"},
    {"{anonymous}::A* {anonymous}::A::operator->()", "operator->"},
    {"void {anonymous}::A::operator()(int) const", "operator()"},
    {"void {anonymous}::A::operator()(int)::L::run()", "run"},
    {"int operator\"\"_x(long long unsigned int)", "operator\"\"_x"},
    {"int Tool::operatorCount()", "operatorCount"},
    {"std::function<void(int)> {anonymous}::A::mk(int)", "mk"},
};
INSTANTIATE_TEST_SUITE_P(Gcc, GetFunctionNameTest, testing::ValuesIn(GCC));

constexpr SignatureCase CLANG[] = {
    {"auto (anonymous class)::operator()() const", "lambda"},
    {"auto (anonymous namespace)::(anonymous class)::operator()(int) const", "lambda"},
    {"auto (anonymous namespace)::A::m()::(anonymous class)::operator()(auto) [x:auto = int]", "m"},
    {"auto (anonymous namespace)::A::m()::(anonymous class)::operator()(int)::(anonymous class)::operator()() const",
     "m"},
    {"auto f()::(lambda at source.cpp:27:270)::operator()() const", "f"},
    {"auto C::(anonymous class)::operator()() const", "C"},
    {"(anonymous namespace)::A &(anonymous namespace)::A::operator<<(int)", "operator<<"},
    {"std::function<void (int)> (anonymous namespace)::A::mk(int)", "mk"},
    {"void B<int, 1>::t(U) [T = int, N = 1, U = (lambda at p.cpp:27:270)]", "t"},
    {"void (anonymous namespace)::A::operator()(int) const", "operator()"},
    {"(anonymous namespace)::A::~A()", "~A"},
};
INSTANTIATE_TEST_SUITE_P(Clang, GetFunctionNameTest, testing::ValuesIn(CLANG));

constexpr SignatureCase BROKEN[] = {
    {")", ")"}, {"((", "(("}, {"]", "]"}, {">", ">"}, {"f(", "f("}, {"::", "::"}, {"<lambda", "lambda"},
};
INSTANTIATE_TEST_SUITE_P(Broken, GetFunctionNameTest, testing::ValuesIn(BROKEN));

/// An operation that says its own name as this compiler has it.
class Speaker {
public:
    template <typename Value>
    static std::string Name(Value /*value*/)
    {
        return std::string(GetFunctionName(__PRETTY_FUNCTION__));
    }

    std::string NameInLambda() const
    {
        const auto inner = [this](auto value) {
            static_cast<void>(value);
            static_cast<void>(this);
            return [] { return std::string(GetFunctionName(__PRETTY_FUNCTION__)); }();
        };
        return inner(1);
    }

    std::function<std::string(int)> NameAsFunction() const
    {
        const std::string name(GetFunctionName(__PRETTY_FUNCTION__));
        return [name](int) { return name; };
    }

    std::string operator()(int /*value*/) const { return std::string(GetFunctionName(__PRETTY_FUNCTION__)); }
};

TEST(GetFunctionNameOfThisCompilerTest, OperationsBearTheirOwnNames)
{
    EXPECT_EQ("Name", Speaker::Name(std::vector<std::function<void(int)>>()));
    EXPECT_EQ("NameInLambda", Speaker().NameInLambda());
    EXPECT_EQ("NameAsFunction", Speaker().NameAsFunction()(1));
    EXPECT_EQ("operator()", Speaker()(1));
}

TEST(GetFunctionNameOfThisCompilerTest, ResultPointsIntoTheSignature)
{
    const std::string_view signature = "int Array::Login(int)";
    EXPECT_EQ(signature.data() + 11, GetFunctionName(signature).data());
}

} // namespace
