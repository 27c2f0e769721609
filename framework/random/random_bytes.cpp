#include "common/framework/random_bytes.h"

#include <openssl/rand.h>

#include <climits>

int getRandBytes(unsigned char* buffer, unsigned int count)
{
    if (count == 0) {
        return 1;
    }
    if (buffer == nullptr || count > INT_MAX) {
        return 0;
    }
    return RAND_bytes(buffer, static_cast<int>(count));
}
