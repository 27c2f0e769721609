#include "disklib/qen_thread.h"

#include <exception>

bool QenThread::Start()
{
    if (thread != nullptr && thread->joinable()) {
        std::terminate(); // its owner started it twice, and would take the loop from the thread that runs
    }
    try {
        message_loop = std::make_unique<MessageLoop>();
        message_loop->OpenDescriptors();
        thread = std::make_unique<boost::thread>([this] { ThreadMain(); });
    } catch (const std::exception&) {
        message_loop.reset();
        thread.reset();
        return false;
    }
    // From here on the owner may take the loop away, and a stop cannot be overrun by the beginning of Run.
    message_loop->running.Await();
    return true;
}

void QenThread::ThreadMain()
{
    message_loop->Run();
}
