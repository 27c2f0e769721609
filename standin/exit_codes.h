#ifndef ZAVSIM_STANDIN_EXIT_CODES_H
#define ZAVSIM_STANDIN_EXIT_CODES_H

namespace ZavSimNode {

// Exit codes of iscsiadm.
constexpr int EXIT_DATABASE = 6;
constexpr int EXIT_INVALID = 7;
constexpr int EXIT_LOGOUT = 10;
constexpr int EXIT_PDU_TIMEOUT = 11;
constexpr int EXIT_SESSION_EXISTS = 15;
constexpr int EXIT_NOTHING_FOUND = 21;

} // namespace ZavSimNode

#endif
