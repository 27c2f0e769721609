#ifndef PRODUCT_STORAGE_TESTS_UNIT_DISKLIB_LOOP_TEST_H
#define PRODUCT_STORAGE_TESTS_UNIT_DISKLIB_LOOP_TEST_H

#include "disklib/message_loop.h"
#include "tests/fakes/fakes.h"
#include "tests/unit/system_calls.h"

#include <boost/thread/lock_guard.hpp>

#include <sys/ioctl.h>

#include <cstdint>
#include <string>
#include <vector>

/// One message loop that runs on the test's own thread, by a clock that stands still until it is moved.
class LoopTest : public FakesTest {
protected:
    static constexpr std::int64_t MILLISECOND = 1000000; // nanoseconds

    LoopTest() { m_calls.Forget(); } // what making the loop took

    static std::int64_t Now() { return Fakes::Clock().SteadyNow().time_since_epoch().count(); }

    /// A task that notes its name.
    boost::function<void()> Says(const std::string& name)
    {
        return [this, name] { m_ran.push_back(name); };
    }

    boost::function<void()> Stops()
    {
        return [this] { Stop(); };
    }

    void Stop()
    {
        const boost::lock_guard<boost::mutex> guard(m_loop.lock);
        m_loop.keep_running = false;
    }

    /// Appends a task with a due time of the test's choice, as PostDelayedTask would.
    void Queue(const boost::function<void()>& task, std::int64_t due)
    {
        MessageLoop::PendingTask pending;
        pending.task = task;
        pending.delayed_run_time = due;
        pending.sequence_num = m_loop.next_sequence_num++;
        m_loop.incoming_queue.push_back(pending);
    }

    /// Runs the loop until it would sleep without limit. It sleeps exactly as long as it says.
    void RunUntilIdle()
    {
        m_calls.OnWait([this](int milliseconds) {
            if (milliseconds < 0) {
                Stop();
            } else {
                m_clock.Advance(boost::chrono::milliseconds(milliseconds));
            }
        });
        m_loop.Run();
    }

    /// Runs the loop until it would sleep, and leaves it then.
    void RunUntilSleep()
    {
        m_calls.OnWait([this](int) { Stop(); });
        m_loop.Run();
    }

    /// Bytes in the loop's pipe.
    int WakeUps() const
    {
        int bytes = -1;
        ioctl(m_loop.wakeup_read_fd, FIONREAD, &bytes);
        return bytes;
    }

    SystemCalls m_calls;
    MessageLoop m_loop;
    std::vector<std::string> m_ran;
};

#endif
