#ifndef PRODUCT_STORAGE_CLI_CONSOLE_EXIT_CODE_H
#define PRODUCT_STORAGE_CLI_CONSOLE_EXIT_CODE_H

/// What zavctl ends with; docs/zavctl.md tells users, and cli/console/remedies.cpp what to do.
enum class ExitCode : int {
    Done = 0,
    Usage = 2,         ///< the command line is wrong
    Partly = 3,        ///< some of what was asked for was done
    NotFound = 4,      ///< what was named is not there
    Foreign = 5,       ///< it is somebody else's, or in somebody else's use
    LoginRefused = 6,  ///< the array or cluster does not take user and password
    Unusable = 7,      ///< configuration, environment or a file of this node cannot be used
    Unreachable = 8,   ///< no answer, or too late
    Refused = 9,       ///< the array, the cluster or this node's own tools refused
    Drift = 10,        ///< the node is not rightly prepared; what is broken was printed
    WouldChange = 11,  ///< there is something to do; what was printed
    NoPermission = 13, ///< this user may not
    OurFault = 70,     ///< what should not happen
};

/// The code for a failed request, by the library's code for it: 0 is none.
ExitCode ExitCodeOf(int requestCode) noexcept;

/// The code for a file of this node that cannot be used, by the error number.
ExitCode ExitCodeOfFile(int errorNumber) noexcept;

#endif
