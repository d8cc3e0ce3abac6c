// Certificate requests (PKCS #10) for keys of this machine.
#ifndef PKGSIGN_AUTHORITY_REQUESTS_H
#define PKGSIGN_AUTHORITY_REQUESTS_H

#include <string>

#include "pkgsign/authority/issue.h"

namespace pkgsign
{

struct RequestOrder {
    std::string name; // in the folder
    Role role = Role::Signer;
    NamePtr subject;
    Key key;
    std::string keyUri; // as pki.json keeps it
    UnsavedKey unsaved; // of a new key
};

// Signs a request by the key, remembers it and keeps it in the folder until its certificate is imported. Signed for
// proof of possession only: it is no certificate, so nothing can go wrong with it on a device.
Status MakeRequest(const Workplace &place, const RequestOrder &order, Bytes *requestOut);

} // namespace pkgsign

#endif
