#ifndef PRODUCT_STORAGE_CLI_EXIT_CODE_H
#define PRODUCT_STORAGE_CLI_EXIT_CODE_H

/// What zavctl ends with; docs/zavctl.md tells users.
enum class ExitCode : int {
    Done = 0,
    Failed = 1,   ///< the array, the node or the library refused; the reason was printed
    Usage = 2,    ///< the command line is wrong
    BadInput = 3, ///< a file or text that was given cannot be used
    BadConfiguration = 4,
    Drift = 10, ///< the node is not rightly prepared; what is broken was printed
};

#endif
