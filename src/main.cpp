#include "src/verify_frame_main.h"

int main(int argc, char **argv)
{
    return UPGRADE_MainExe(argc, argv);
}
