// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/authority/requests.h"

#include "pkgsign/files/files.h"
#include "pkgsign/files/objects.h"

namespace pkgsign
{

std::string RequestPath(const std::string &folder, const std::string &name)
{
    return folder + "/certificates/" + name + ".csr";
}

Status MakeRequest(const Workplace &place, const RequestOrder &order, Bytes *requestOut, std::string *reportOut)
{
    const RequestPtr request(X509_REQ_new());
    if (request == nullptr || X509_REQ_set_version(request.get(), 0) != 1 || // RFC 2986, 4.1: v1
        X509_REQ_set_subject_name(request.get(), order.subject.get()) != 1 ||
        X509_REQ_set_pubkey(request.get(), order.key.get()) != 1) {
        return FailCrypto("cannot make a request");
    }
    *reportOut = ContentText(request.get()) + "SHA-256 of what is signed: " + ContentDigest(request.get()) + "\n";
    if (place.dryRun) {
        return {};
    }
    if (X509_REQ_sign(request.get(), order.key.get(), EVP_sha256()) == 0 ||
        X509_REQ_verify(request.get(), order.key.get()) != 1) {
        return FailCrypto("the key cannot sign a request");
    }
    const Bytes der = EncodeDer(i2d_X509_REQ, request.get());
    const std::string text = AddArmour("CERTIFICATE REQUEST", der);
    Status status = SaveNewKey(order.unsaved, order.key);
    if (status.ok) {
        status = UpdatePki(place.folder, [&](Pki *pki) {
            if (FindEntry(*pki, order.name) != nullptr) {
                return Fail("the folder has a certificate '" + order.name + "' already; choose another --name");
            }
            Entry entry;
            entry.name = order.name;
            entry.role = order.role;
            entry.state = State::Requested;
            entry.key = order.keyUri;
            entry.subject = NameText(order.subject.get());
            pki->certificates.push_back(entry);
            return Status();
        });
    }
    if (status.ok) {
        status = WriteWhole(RequestPath(place.folder, order.name), text);
    }
    if (status.ok) {
        *requestOut = Bytes(text.begin(), text.end());
    }
    return status;
}

const Entry *FindRequest(const std::string &folder, const Pki &pki, const EVP_PKEY *key)
{
    for (const Entry &entry : pki.certificates) {
        RequestPtr request;
        if (entry.state == State::Requested && ReadRequest(RequestPath(folder, entry.name), &request).ok &&
            SamePublicKey(X509_REQ_get0_pubkey(request.get()), key)) {
            return &entry;
        }
    }
    return nullptr;
}

} // namespace pkgsign
