#ifndef ZAVSIM_DATAPLANE_FIRST_FAILURE_H
#define ZAVSIM_DATAPLANE_FIRST_FAILURE_H

#include <exception>

namespace ZavSim {

/// Steps each of which is taken whatever became of those before, as when things are taken away; of those that fail the
/// first tells why.
class FirstFailure {
public:
    template <typename Step>
    void Try(const Step& step) noexcept
    {
        try {
            step();
        } catch (const std::exception&) {
            m_failure = m_failure ? m_failure : std::current_exception();
        }
    }

    /// Throws what the first that failed threw; nothing happens when none did.
    void Throw() const
    {
        if (m_failure) {
            std::rethrow_exception(m_failure);
        }
    }

private:
    std::exception_ptr m_failure;
};

/// Takes back what was begun, as far as it can be. What may go wrong then is kept back, so that the caller can tell
/// what went wrong first.
template <typename Step>
void TakeBack(const Step& step) noexcept
{
    FirstFailure().Try(step);
}

} // namespace ZavSim

#endif
