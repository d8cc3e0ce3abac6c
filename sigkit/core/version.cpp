#include "sigkit/sigkit.h"

const char *SigkitGetVersion(void)
{
    return "V2.0.0.650";
}
