// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "fuzz/seeds.h"

#include "fuzz/support/armour.h"
#include "fuzz/support/container.h"
#include "fuzz/support/pki.h"

namespace
{

const forge::Bytes CONTENT = {'c', 'h', 'e', 'c', 'k', 's', 'u', 'm'};
const forge::Bytes GARBAGE(40, 0x5A);

forge::Bytes Join(const std::vector<forge::Bytes> &parts)
{
    forge::Bytes joined;
    for (const forge::Bytes &part : parts) {
        joined.insert(joined.end(), part.begin(), part.end());
    }
    return joined;
}

forge::Bytes Cut(forge::Bytes octets, size_t count)
{
    octets.resize(octets.size() - count);
    return octets;
}

forge::MessageRequest Request()
{
    return FuzzMessageRequest(CONTENT);
}

forge::Bytes GoodMessage()
{
    return FuzzMessage(Request());
}

forge::Bytes GoodCrls()
{
    return Join({FuzzCrls()[FUZZ_CRL_ROOT], FuzzCrls()[FUZZ_CRL_CA_A]});
}

void Add(std::vector<Seed> *seeds, const char *name, const forge::Bytes &message, const forge::Bytes &crls,
         uint8_t flags = 0, const forge::Bytes &content = CONTENT, uint8_t failAt = 0)
{
    FuzzContainer container;
    container.flags[0] = flags;
    container.flags[1] = failAt;
    container.parts = {message, crls, content};
    seeds->push_back({"detached", name, FuzzPack(container)});
}

forge::Bytes WithDigest(forge::Digest digest)
{
    forge::MessageRequest request = Request();
    request.digest = digest;
    request.tokenRequest.imprintDigest = digest;
    request.tokenRequest.signerDigest = digest;
    return FuzzMessage(request);
}

// A signer under another CA than the timestamp's.
forge::Bytes UnderTwoAuthorities()
{
    forge::MessageRequest request = Request();
    request.signerCertificate = FuzzCertificate({FUZZ_SIGNER, FUZZ_CA_B, 0x26});
    request.certificates = {request.signerCertificate, FuzzCertificates()[FUZZ_CERT_CA_B]};
    return FuzzMessage(request);
}

forge::Bytes Expired()
{
    forge::MessageRequest request = Request();
    request.tokenRequest.genTime = FUZZ_NOT_AFTER + 1;
    return FuzzMessage(request);
}

void AddForms(std::vector<Seed> *seeds)
{
    const forge::Bytes message = GoodMessage();
    const forge::Bytes crls = GoodCrls();
    Add(seeds, "good", message, crls);
    Add(seeds, "good_pem", message, crls, FUZZ_ARMOUR_CMS | FUZZ_ARMOUR_CRLS);
    Add(seeds, "good_pkcs7_crlf", message, crls, FUZZ_ARMOUR_PKCS7 | FUZZ_ARMOUR_CRLS | FUZZ_CARRIAGE_RETURN);
    Add(seeds, "good_pem_text", FuzzArmour(forge::LABEL_CMS, message, false), crls);
    Add(seeds, "good_twice_in_pieces", message, crls, FUZZ_TWICE | FUZZ_IN_PIECES);
    Add(seeds, "altered", message, crls, FUZZ_ALTERED);
    Add(seeds, "no_root", message, crls, FUZZ_NO_ROOT);
    Add(seeds, "memory_runs_out", message, crls, 0, CONTENT, 30);
    Add(seeds, "message_cut", Cut(message, 3), crls);
    Add(seeds, "message_with_tail", Join({message, GARBAGE}), crls);
    Add(seeds, "crls_cut", message, Cut(crls, 50));
    Add(seeds, "crls_with_tail", message, Join({crls, GARBAGE}));
    Add(seeds, "no_crls", message, {});
    Add(seeds, "sha384", WithDigest(forge::Digest::Sha384), crls);
    Add(seeds, "sha512", WithDigest(forge::Digest::Sha512), crls);
    forge::MessageRequest request = FuzzMessageRequest({});
    Add(seeds, "empty_content", FuzzMessage(request), crls, 0, {});
}

void AddSigners(std::vector<Seed> *seeds)
{
    const forge::Bytes crls = GoodCrls();
    forge::MessageRequest request = Request();
    request.signedAttributes = false;
    Add(seeds, "no_signed_attributes", FuzzMessage(request), crls);
    request = Request();
    request.tokenRequest.signedAttributes = false;
    Add(seeds, "token_without_attributes", FuzzMessage(request), crls);
    request.tokenRequest.signerInfoCount = 0;
    Add(seeds, "token_without_signers", FuzzMessage(request), crls);
    request = Request();
    request.tokenRequest.imprintOver = GARBAGE;
    Add(seeds, "token_of_something_else", FuzzMessage(request), crls);
    request = Request();
    request.timestamp = forge::Timestamp::None;
    Add(seeds, "no_timestamp", FuzzMessage(request), crls);
    request.signerInfoCount = 0;
    Add(seeds, "no_signers", FuzzMessage(request), crls);
    request = Request();
    request.signerInfoCount = 2;
    request.tokenRequest.certificates = {};
    Add(seeds, "two_signers", FuzzMessage(request), crls);
    request = Request();
    std::swap(request.signerKey, request.tokenRequest.tsaKey);
    Add(seeds, "wrong_keys", FuzzMessage(request), crls);
    Add(seeds, "expired", Expired(), crls);
}

void AddRevocations(std::vector<Seed> *seeds)
{
    const forge::Bytes message = GoodMessage();
    const std::vector<forge::Bytes> &crls = FuzzCrls();
    const std::vector<forge::Bytes> &certs = FuzzCertificates();
    const forge::Bytes &root = crls[FUZZ_CRL_ROOT];
    Add(seeds, "signer_revoked", message, Join({root, crls[7]}));
    Add(seeds, "signer_revoked_later", message, Join({root, crls[8]}));
    Add(seeds, "timestamp_revoked", message, Join({root, crls[9]}));
    Add(seeds, "authority_revoked", message, Join({crls[10], crls[FUZZ_CRL_CA_A]}));
    Add(seeds, "crl_out_of_date", message, Join({root, crls[12]}));
    Add(seeds, "indirect_crl", message, Join({root, crls[4]}));
    Add(seeds, "indirect_crl_of_another", message,
        Join({root, crls[FUZZ_CRL_CA_A], crls[FUZZ_CRL_INDIRECT], certs[FUZZ_CERT_CRL_ISSUER]}));
    Add(seeds, "only_indirect_crls", message, Join({root, crls[FUZZ_CRL_INDIRECT], certs[10]}));
    Add(seeds, "root_in_crls", message, Join({FuzzRootCertificate(), GoodCrls()}));
}

void AddPaths(std::vector<Seed> *seeds)
{
    const std::vector<forge::Bytes> &crls = FuzzCrls();
    const std::vector<forge::Bytes> &certs = FuzzCertificates();
    const forge::Bytes &root = crls[FUZZ_CRL_ROOT];
    Add(seeds, "two_authorities", UnderTwoAuthorities(),
        Join({root, crls[FUZZ_CRL_CA_A], crls[FUZZ_CRL_CA_B], certs[FUZZ_CERT_CA_A]}));
    Add(seeds, "cross_signed", GoodMessage(), Join({certs[5], certs[6], root, crls[FUZZ_CRL_CA_A]}));
    Add(seeds, "cycle", GoodMessage(), Join({certs[7], certs[8], root, crls[6], crls[FUZZ_CRL_CA_A]}));
    Add(seeds, "rolled_over", GoodMessage(), Join({certs[9], crls[13], root, crls[FUZZ_CRL_CA_A]}));
    Add(seeds, "decoys_first", GoodMessage(), Join({certs[17], certs[18], GoodCrls()}));
    Add(seeds, "strangers", GoodMessage(), Join({certs[13], certs[14], crls[14], GoodCrls()}));
    Add(seeds, "full_store", GoodMessage(),
        Join({Join({certs.begin() + 3, certs.begin() + 13}), Join({certs.begin() + 14, certs.begin() + 19}),
              GoodCrls()}));
    std::vector<forge::Bytes> many;
    for (uint8_t number = 0; number < 17; ++number) {
        many.push_back(FuzzCrl({number % 2 == 0 ? FUZZ_ROOT : FUZZ_CA_A, 20 + number}));
    }
    Add(seeds, "seventeen_crls", GoodMessage(), Join(many));
    many.pop_back();
    Add(seeds, "sixteen_crls", GoodMessage(), Join(many));
}

} // namespace

void AddDetachedSeeds(std::vector<Seed> *seeds)
{
    AddForms(seeds);
    AddSigners(seeds);
    AddRevocations(seeds);
    AddPaths(seeds);
}
