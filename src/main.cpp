#include <signal.h>

#include "src/libcrypto_start.h"
#include "src/verify_frame_main.h"

int main(int argc, char **argv)
{
    // A reader of the log lines that goes away must not end the tool before it has answered.
    (void)signal(SIGPIPE, SIG_IGN);
    (void)signal(SIGXFSZ, SIG_IGN); // nor must a log that has reached the limit of a file's size
    (void)StartLibcrypto();
    return UPGRADE_MainExe(argc, argv);
}
