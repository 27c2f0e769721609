#ifndef PRODUCT_STORAGE_COMMON_RESULT_CODES_H
#define PRODUCT_STORAGE_COMMON_RESULT_CODES_H

#include <array>

/// Results of the REST operations that are this library's own. Any other value is the array's error code, unchanged.
namespace ResultCode {

constexpr int OK = 0;
constexpr int FAILED = -1;                      ///< not logged in, a missing or malformed member, a failed conversion
constexpr int NAME_MISMATCH = -2;               ///< the id names an object that bears another name
constexpr int TRANSPORT_ERROR = -20000;         ///< the HTTP client got no answer
constexpr int CLUSTER_TRANSPORT_ERROR = 200000; ///< the same in the distributed storage client

} // namespace ResultCode

/// The array's error codes that the library or zavctl treat specially, as the array sends them in decimal.
namespace ArrayCode {

constexpr int SESSION_LAPSED = -401;
constexpr int REQUEST_TIMED_OUT = -408;
constexpr int INTERNAL_ERROR = -500;
constexpr int CONNECTION_FAILED = -1000;
constexpr int HOST_NOT_IN_HOST_GROUP = 1073745412;     // 0x40000E04
constexpr int HOST_GROUP_NOT_IN_MAP_VIEW = 1073804552; // 0x4000F508
constexpr int LUN_GROUP_NOT_IN_MAP_VIEW = 1073804554;  // 0x4000F50A
constexpr int LUN_GROUP_GONE = 1077936861;             // 0x404002DD
constexpr int HOST_GONE = 1077937498;                  // 0x4040055A
constexpr int HOST_GROUP_GONE = 1077937500;            // 0x4040055C
constexpr int MEMBER_NOT_IN_LUN_GROUP = 1077948996;    // 0x40403244
constexpr int SYSTEM_BUSY = 1077949006;                // 0x4040324E
constexpr int SYSTEM_NOT_READY = 1077949067;           // 0x4040328B
constexpr int INITIATOR_NOT_ON_HOST = 1077950342;      // 0x40403786
constexpr int MAP_VIEW_GONE = 1077951819;              // 0x40403D4B
constexpr int SESSION_LIMIT_REACHED = 1090519042;      // 0x41000002

} // namespace ArrayCode

/// Whether a check's result says that the object is gone (`goneCode`), or is another's by now. Any other code, a
/// network failure for one, counts as still there: only the array's own word has what was made removed, or made anew.
constexpr bool IsGoneOrAnothers(int result, int goneCode)
{
    return result == goneCode || result == ResultCode::NAME_MISMATCH;
}

/// Results that say nothing of what was asked for: no answer, or one that a later try may not get.
inline constexpr std::array<int, 7> RETRYABLE_CODES = {
    ResultCode::TRANSPORT_ERROR, ArrayCode::SYSTEM_NOT_READY,  ArrayCode::SYSTEM_BUSY,   ArrayCode::REQUEST_TIMED_OUT,
    ArrayCode::INTERNAL_ERROR,   ArrayCode::CONNECTION_FAILED, ArrayCode::SESSION_LAPSED};

#endif
