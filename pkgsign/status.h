// How the operations of this folder report.
#ifndef PKGSIGN_STATUS_H
#define PKGSIGN_STATUS_H

#include "pkgsign/pkgsign.h"

#include <string>
#include <utility>

inline PkgsignStatus PkgsignOk()
{
    return {true, {}};
}

inline PkgsignStatus PkgsignFail(std::string reason)
{
    return {false, std::move(reason)};
}

// A failure of libcrypto: `what` followed by libcrypto's own reason. Empties its error queue.
PkgsignStatus PkgsignFailCrypto(const std::string &what);

#endif
