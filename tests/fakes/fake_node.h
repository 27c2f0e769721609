#ifndef PRODUCT_STORAGE_TESTS_FAKES_FAKE_NODE_H
#define PRODUCT_STORAGE_TESTS_FAKES_FAKE_NODE_H

#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <vector>

/// Random bytes: the numbers that a test gives, then a fixed sequence.
class FakeRandom {
public:
    /// The next draws give `numbers`, one each.
    void Give(const std::vector<std::uint32_t>& numbers);

    /// After the numbers given so far, `times` draws fail with `result`.
    void Fail(int times, int result = 0);
    void Clear();
    int Draws() const;

    int Fill(unsigned char* buffer, unsigned int count);

private:
    struct Draw {
        int result = 1;
        std::uint32_t number = 0;
    };

    mutable std::mutex m_lock;
    std::deque<Draw> m_draws;     // guarded by m_lock
    std::uint32_t m_sequence = 0; // guarded by m_lock
    int m_drawCount = 0;          // guarded by m_lock
};

/// Passwords: "cipher:secret" decrypts to "secret", anything else to nothing.
class FakeSecurity {
public:
    static bool Decrypt(const std::string& cipher, std::string& plain);
};

/// The product's root directory.
class FakeProductRoot {
public:
    struct Call {
        std::string module;
        unsigned long requestId;
    };

    void Set(const std::string& path);
    void Clear();
    std::vector<Call> Calls() const;

    std::string Get(const std::string& module, unsigned long requestId);

private:
    mutable std::mutex m_lock;
    std::string m_path;        // guarded by m_lock
    std::vector<Call> m_calls; // guarded by m_lock
};

#endif
