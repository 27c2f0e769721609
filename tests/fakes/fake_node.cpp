#include "tests/fakes/fake_node.h"

#include "common/framework/product_root.h"
#include "common/framework/random_bytes.h"
#include "common/framework/security.h"
#include "tests/fakes/fakes.h"

#include <algorithm>
#include <cstring>

// The symbols of the random, security and product root libraries.

int getRandBytes(unsigned char* buffer, unsigned int count)
{
    return Fakes::Random().Fill(buffer, count);
}

bool SecuritySS::ZelkDecryptInfo(const std::string& cipher, std::string& plain)
{
    return FakeSecurity::Decrypt(cipher, plain);
}

std::string GetVendrixRootPath(const std::string& module, const unsigned long& requestId)
{
    return Fakes::ProductRoot().Get(module, requestId);
}

// What stands behind them.

void FakeRandom::Give(const std::vector<std::uint32_t>& numbers)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    for (const std::uint32_t number : numbers) {
        m_draws.push_back({1, number});
    }
}

void FakeRandom::Fail(int times, int result)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_draws.insert(m_draws.end(), static_cast<std::size_t>(times), {result, 0});
}

void FakeRandom::Clear()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_draws.clear();
    m_sequence = 0;
    m_drawCount = 0;
}

int FakeRandom::Draws() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_drawCount;
}

int FakeRandom::Fill(unsigned char* buffer, unsigned int count)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    ++m_drawCount;
    Draw draw = {1, m_sequence};
    if (m_draws.empty()) {
        m_sequence = m_sequence * 1664525U + 1013904223U; // a sequence that looks random and is always the same
    } else {
        draw = m_draws.front();
        m_draws.pop_front();
    }
    if (draw.result > 0) {
        std::memcpy(buffer, &draw.number, std::min<std::size_t>(count, sizeof(draw.number)));
    }
    return draw.result;
}

bool FakeSecurity::Decrypt(const std::string& cipher, std::string& plain)
{
    const std::string mark = "cipher:";
    const bool isOurs = cipher.compare(0, mark.size(), mark) == 0;
    plain = isOurs ? cipher.substr(mark.size()) : "";
    return isOurs;
}

void FakeProductRoot::Set(const std::string& path)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_path = path;
}

void FakeProductRoot::Clear()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_path = "/no/product/root/set";
    m_calls.clear();
}

std::vector<FakeProductRoot::Call> FakeProductRoot::Calls() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_calls;
}

std::string FakeProductRoot::Get(const std::string& module, unsigned long requestId)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_calls.push_back({module, requestId});
    return m_path;
}
