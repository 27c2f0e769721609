#ifndef PRODUCT_STORAGE_CLI_LOG_TAIL_H
#define PRODUCT_STORAGE_CLI_LOG_TAIL_H

#include <string>

/// What the library logs while a command works: silent as long as all goes well, the cause when it does not.
class LogTail {
public:
    /// Begins at the end of the log file that configuration names. `isShownAlready`: the log goes to standard error
    /// anyway, and nothing is printed twice.
    explicit LogTail(bool isShownAlready);

    /// Prints the failures that the constructing thread logged since the last call, on standard error. One thread at a
    /// time may call, whichever it is.
    void PrintFailures();

private:
    bool m_isShownAlready;
    std::string m_requestId;
    std::string m_path;
    std::streamoff m_offset = 0;
};

#endif
