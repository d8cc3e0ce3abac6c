#include <signal.h>
#include <stdint.h>

#include <openssl/crypto.h>

#include "src/verify_frame_main.h"

namespace
{

// What libcrypto need not do. Nothing that the environment names (OPENSSL_CONF, and the modules that such a file names) may
// take part. Tables of ciphers, of digests under their old names and of error texts would be half of its start-up, and
// nobody asks them; nor does what a process leaves behind need tidying up.
constexpr uint64_t LIBCRYPTO_PARTS = OPENSSL_INIT_NO_LOAD_CONFIG | OPENSSL_INIT_NO_ADD_ALL_CIPHERS |
                                     OPENSSL_INIT_NO_ADD_ALL_DIGESTS | OPENSSL_INIT_NO_LOAD_CRYPTO_STRINGS |
                                     OPENSSL_INIT_NO_ATEXIT;

} // namespace

int main(int argc, char **argv)
{
    // A reader of the log lines that goes away must not end the tool before it has answered.
    (void)signal(SIGPIPE, SIG_IGN);
    (void)OPENSSL_init_crypto(LIBCRYPTO_PARTS, nullptr);
    return UPGRADE_MainExe(argc, argv);
}
