#ifndef PRODUCT_STORAGE_DISKLIB_QEN_THREAD_H
#define PRODUCT_STORAGE_DISKLIB_QEN_THREAD_H

#include "disklib/message_loop.h"

#include <boost/thread/thread.hpp>

#include <memory>

/// A thread that runs a message loop. Not thread-safe: its owner's lock guards it.
///
/// To stop: 1. clear the loop's `keep_running` under the loop's lock; 2. wake the loop; 3. join the thread, which
/// throws "boost thread: trying joining itself" on the thread itself; 4. destroy loop and thread. The worker leaves
/// after the task that it is running.
/// The header is installed because ZavStorageDiskLib holds one; none of its functions is exported.
class QenThread {
public:
    /// Makes a loop and the thread that runs it, and returns when it runs. Must not be called while one runs. False,
    /// with both destroyed, when either cannot be made.
    bool Start();

    /// The thread's body.
    void ThreadMain();

    std::unique_ptr<boost::thread> thread;
    std::unique_ptr<MessageLoop> message_loop;
};

#endif
