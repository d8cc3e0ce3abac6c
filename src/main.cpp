#include <signal.h>

#include <openssl/crypto.h>

#include "src/verify_frame_main.h"

int main(int argc, char **argv)
{
    // A reader of the log lines that goes away must not end the tool before it has answered.
    (void)signal(SIGPIPE, SIG_IGN);
    // Nothing that the environment names (OPENSSL_CONF, and the modules that such a file names) may take part.
    (void)OPENSSL_init_crypto(OPENSSL_INIT_NO_LOAD_CONFIG, nullptr);
    return UPGRADE_MainExe(argc, argv);
}
