// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "fuzz/support/resign.h"

#include <algorithm>
#include <map>

#include "fuzz/support/keys.h"
#include "fuzz/support/pki.h"

namespace
{

constexpr uint8_t INTEGER = 0x02;
constexpr uint8_t BIT_STRING = 0x03;
constexpr uint8_t OCTET_STRING = 0x04;
constexpr uint8_t OBJECT_IDENTIFIER = 0x06;
constexpr uint8_t SEQUENCE = 0x30;
constexpr uint8_t SET = 0x31;
constexpr uint8_t CONTEXT_0 = 0xA0;
constexpr uint8_t CONTEXT_1 = 0xA1;
constexpr size_t LEFT_ALONE = 3; // chances out of 100 that a digest, or a signature, stays

// Content octets of identifiers.
const forge::Bytes ID_MESSAGE_DIGEST = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x09, 0x04};
const forge::Bytes ID_TIMESTAMP_TOKEN = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x09, 0x10, 0x02, 0x0E};
const forge::Bytes ID_SHA2 = {0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02};  // and 1 to 3
const forge::Bytes ID_PKCS1 = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01}; // and 11 to 13

// Which key belongs to a signer's issuer and serial number.
using SignerKeys = std::map<forge::Bytes, size_t>;

bool HasPrefix(const forge::Bytes &octets, const forge::Bytes &prefix)
{
    return octets.size() == prefix.size() + 1 && std::equal(prefix.begin(), prefix.end(), octets.begin());
}

// The digest that an AlgorithmIdentifier names, of its own or with RSA; SHA-256 for any other.
forge::Digest DigestOf(const TlvNode &algorithm)
{
    if (algorithm.children.empty()) {
        return forge::Digest::Sha256;
    }
    const forge::Bytes &identifier = algorithm.children.front().content;
    int number = 0;
    if (HasPrefix(identifier, ID_SHA2)) {
        number = identifier.back();
    } else if (HasPrefix(identifier, ID_PKCS1)) {
        number = identifier.back() - 10;
    }
    return number == 2 ? forge::Digest::Sha384 : number == 3 ? forge::Digest::Sha512 : forge::Digest::Sha256;
}

// The three members of a signed structure.
bool IsSigned(const TlvNode &node)
{
    return node.identifier == SEQUENCE && node.children.size() == 3 && node.children[0].identifier == SEQUENCE &&
           node.children[1].identifier == SEQUENCE && node.children[2].identifier == BIT_STRING &&
           !node.children[0].children.empty();
}

const TlvNode *IssuerOf(const TlvNode &node)
{
    const TlvNode &body = node.children.front();
    const size_t place = FuzzIsCrl(node) ? size_t{CRL_ISSUER} : size_t{CERT_ISSUER};
    return place < body.children.size() ? &body.children[place] : nullptr;
}

forge::Bytes SignatureBits(const TlvNode &node)
{
    forge::Bytes bits = TlvEncodeContent(node.children[2]);
    if (!bits.empty()) {
        bits.erase(bits.begin());
    }
    return bits;
}

// The key that a certificate or CRL is to be signed with.
size_t ChooseKey(const TlvNode &node, FuzzRandom *random)
{
    const TlvNode *const issuer = IssuerOf(node);
    const forge::Bytes name = issuer == nullptr ? forge::Bytes() : TlvEncode(*issuer);
    if (node.key != FUZZ_NO_KEY && node.issuer == name && !FuzzChance(random, 3)) {
        return node.key;
    }
    const size_t entity = FuzzFindName(name);
    return entity != FUZZ_ENTITY_COUNT && !FuzzChance(random, 3) ? entity : FuzzBelow(random, FUZZ_KEY_COUNT);
}

void SetLeaf(TlvNode *node, forge::Bytes content)
{
    node->nested = false;
    node->children.clear();
    node->content = std::move(content);
}

void ResignObject(TlvNode *node, FuzzRandom *random)
{
    const size_t key = ChooseKey(*node, random);
    forge::Bytes bits = FuzzSign(key, DigestOf(node->children[1]), TlvEncode(node->children[0]));
    bits.insert(bits.begin(), 0);
    SetLeaf(&node->children[2], std::move(bits));
    node->children[2].forgedLength.clear();
}

void NoteKeys(const TlvForest &forest, SignerKeys *keys)
{
    for (const TlvNode &node : forest) {
        if (FuzzIsCertificate(node)) {
            const TlvForest &members = node.children.front().children;
            forge::Bytes name = TlvEncode(members[CERT_ISSUER]);
            const forge::Bytes serial = TlvEncode(members[CERT_SERIAL]);
            name.insert(name.end(), serial.begin(), serial.end());
            const size_t key = FuzzFindPublicKey(TlvEncode(members[CERT_KEY]));
            if (key != FUZZ_NO_KEY) {
                keys->emplace(name, key); // the first one, as in the library's store
            }
        }
        NoteKeys(node.children, keys);
    }
}

// ---- Signers -------------------------------------------------------------------------------------------------------

struct SignerInfo {
    TlvNode *identifier;
    TlvNode *digestAlgorithm;
    TlvNode *signedAttributes; // null: none
    TlvNode *signature;        // null: none
    TlvNode *unsignedAttributes;
};

bool FindMembers(TlvNode *node, SignerInfo *out)
{
    TlvForest &members = node->children;
    if (node->identifier != SEQUENCE || members.size() < 4 || members[0].identifier != INTEGER ||
        members[1].identifier != SEQUENCE || members[2].identifier != SEQUENCE) {
        return false;
    }
    *out = {&members[1], &members[2], nullptr, nullptr, nullptr};
    for (size_t i = 3; i < members.size(); ++i) {
        if (members[i].identifier == CONTEXT_0 && out->signedAttributes == nullptr) {
            out->signedAttributes = &members[i];
        } else if (members[i].identifier == CONTEXT_1) {
            out->unsignedAttributes = &members[i];
        } else if (members[i].identifier == OCTET_STRING && out->signature == nullptr) {
            out->signature = &members[i];
        }
    }
    return out->signature != nullptr;
}

// The SignedData inside a ContentInfo, or null.
TlvNode *FindSignedData(TlvNode *contentInfo)
{
    TlvForest &members = contentInfo->children;
    const bool found = contentInfo->identifier == SEQUENCE && members.size() >= 2 &&
                       members[0].identifier == OBJECT_IDENTIFIER && members[1].identifier == CONTEXT_0 &&
                       !members[1].children.empty() && members[1].children[0].identifier == SEQUENCE;
    return found ? &members[1].children[0] : nullptr;
}

// Attribute of a kind; null when there is none. Yields its first value.
TlvNode *FindAttribute(TlvNode *attributes, const forge::Bytes &identifier)
{
    for (TlvNode &attribute : attributes->children) {
        TlvForest &members = attribute.children;
        if (members.size() == 2 && TlvIsIdentifier(members[0], identifier) && members[1].identifier == SET &&
            !members[1].children.empty()) {
            return &members[1].children.front();
        }
    }
    return nullptr;
}

void SignSigner(const SignerInfo &signer, const forge::Bytes &content, const SignerKeys &keys, size_t otherKey,
                FuzzRandom *random)
{
    const auto known = keys.find(TlvEncodeContent(*signer.identifier));
    const size_t key = known == keys.end() ? otherKey : known->second;
    const forge::Digest digest = DigestOf(*signer.digestAlgorithm);
    if (FuzzChance(random, LEFT_ALONE)) {
        return;
    }
    if (signer.signedAttributes == nullptr) {
        SetLeaf(signer.signature, FuzzSign(key, digest, content));
        return;
    }
    TlvNode *const messageDigest = FindAttribute(signer.signedAttributes, ID_MESSAGE_DIGEST);
    if (messageDigest != nullptr && !FuzzChance(random, LEFT_ALONE)) {
        SetLeaf(messageDigest, FuzzHash(digest, content));
    }
    forge::Bytes attributes = TlvEncode(*signer.signedAttributes);
    attributes.front() = SET; // RFC 5652, 5.4
    SetLeaf(signer.signature, FuzzSign(key, digest, attributes));
}

// The SignerInfos of a SignedData: its last member.
TlvForest *SignersOf(TlvNode *signedData)
{
    const bool found = !signedData->children.empty() && signedData->children.back().identifier == SET;
    return found ? &signedData->children.back().children : nullptr;
}

// The OCTET STRING with the TSTInfo, or null.
TlvNode *FindTstInfo(TlvNode *signedData)
{
    for (TlvNode &member : signedData->children) {
        if (member.identifier == SEQUENCE && member.children.size() == 2 &&
            member.children[0].identifier == OBJECT_IDENTIFIER && member.children[1].children.size() == 1) {
            return &member.children[1].children.front();
        }
    }
    return nullptr;
}

void SetImprint(TlvNode *eContent, const forge::Bytes &signature)
{
    constexpr size_t imprintPlace = 2;
    if (eContent->children.empty() || eContent->children[0].children.size() <= imprintPlace) {
        return;
    }
    TlvNode &imprint = eContent->children[0].children[imprintPlace];
    if (imprint.children.size() == 2) {
        SetLeaf(&imprint.children[1], FuzzHash(DigestOf(imprint.children[0]), signature));
    }
}

void ResignToken(TlvNode *token, const forge::Bytes &signature, const SignerKeys &keys, FuzzRandom *random)
{
    TlvNode *const signedData = FindSignedData(token);
    TlvNode *const eContent = signedData == nullptr ? nullptr : FindTstInfo(signedData);
    TlvForest *const signers = signedData == nullptr ? nullptr : SignersOf(signedData);
    if (eContent == nullptr || signers == nullptr) {
        return;
    }
    SetImprint(eContent, signature);
    for (TlvNode &node : *signers) {
        SignerInfo signer;
        if (FindMembers(&node, &signer)) {
            SignSigner(signer, TlvEncodeContent(*eContent), keys, FUZZ_TSA, random);
        }
    }
}

} // namespace

bool FuzzIsCertificate(const TlvNode &node)
{
    return IsSigned(node) && node.children[0].children.size() > CERT_KEY &&
           node.children[0].children[0].identifier == CONTEXT_0 &&
           node.children[0].children[CERT_SERIAL].identifier == INTEGER;
}

bool FuzzIsCrl(const TlvNode &node)
{
    return IsSigned(node) && node.children[0].children.size() > CRL_NEXT_UPDATE &&
           node.children[0].children[0].identifier == INTEGER &&
           node.children[0].children[CRL_ALGORITHM].identifier == SEQUENCE &&
           node.children[0].children[CRL_ISSUER].identifier == SEQUENCE;
}

void FuzzRememberSigners(TlvForest *forest)
{
    for (TlvNode *const node : TlvAll(forest)) {
        if (FuzzIsCertificate(*node) || FuzzIsCrl(*node)) {
            node->key = FuzzFindSigner(DigestOf(node->children[1]), TlvEncode(node->children[0]), SignatureBits(*node));
            node->issuer = TlvEncode(*IssuerOf(*node));
        }
    }
}

void FuzzResignObjects(TlvForest *forest, FuzzRandom *random)
{
    for (TlvNode &node : *forest) {
        FuzzResignObjects(&node.children, random); // what is inside is signed first
        if (FuzzIsCertificate(node) || FuzzIsCrl(node)) {
            ResignObject(&node, random);
        }
    }
}

void FuzzResignMessage(TlvForest *message, const TlvForest &others, const forge::Bytes &content, FuzzRandom *random)
{
    SignerKeys keys;
    NoteKeys(others, &keys);
    NoteKeys(*message, &keys);
    TlvNode *const signedData = message->empty() ? nullptr : FindSignedData(&message->front());
    TlvForest *const signers = signedData == nullptr ? nullptr : SignersOf(signedData);
    if (signers == nullptr) {
        return;
    }
    for (TlvNode &node : *signers) {
        SignerInfo signer;
        if (!FindMembers(&node, &signer)) {
            continue;
        }
        SignSigner(signer, content, keys, FUZZ_SIGNER, random);
        if (signer.unsignedAttributes != nullptr) {
            TlvNode *const token = FindAttribute(signer.unsignedAttributes, ID_TIMESTAMP_TOKEN);
            if (token != nullptr) {
                ResignToken(token, TlvEncodeContent(*signer.signature), keys, random);
            }
        }
    }
}
