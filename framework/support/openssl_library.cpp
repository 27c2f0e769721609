// OpenSSL gives itself back when the process ends, by a handler that it registers at its first use: before the
// destructors of static objects that were made earlier, and while another thread may still be logging out over TLS,
// which would then crash. The system takes the memory anyway, so that OpenSSL is told, before this library uses it, to
// register none. That holds for the whole process; where somebody has used OpenSSL before this library was loaded, it
// stays as they had it.

#include <openssl/crypto.h>

namespace {

[[maybe_unused]] const int isPrepared = OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT, nullptr);

} // namespace
