#ifndef PRODUCT_STORAGE_CLI_CONSOLE_LOG_TAIL_H
#define PRODUCT_STORAGE_CLI_CONSOLE_LOG_TAIL_H

#include <memory>
#include <string>
#include <vector>

/// What the library logs while a command works: silent as long as all goes well, the cause when it does not. It is
/// heard in the process, whatever the log file takes; where another provider than the open one is linked, nothing is.
class LogTail {
public:
    /// Hears the thread that makes it from now on. `isShownAlready`: the log goes to standard error anyway, and nothing
    /// is printed twice.
    explicit LogTail(bool isShownAlready);
    LogTail(const LogTail&) = delete;
    LogTail& operator=(const LogTail&) = delete;
    ~LogTail();

    struct Line {
        int level; ///< a severity_level's number
        std::string operation;
        std::string text;
    };

    /// What the thread logged since the last call, from progress on: some causes are told as such. Oldest first. One
    /// thread at a time may call.
    std::vector<Line> Take();

    /// Prints the failures that the thread logged since the last call, on standard error. One thread at a time may
    /// call, whichever it is.
    void PrintFailures();

private:
    struct Ear;
    std::unique_ptr<Ear> m_ear;
};

#endif
