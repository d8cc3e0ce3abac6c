// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "fuzz/support/mutate_meaning.h"

#include <algorithm>

#include "fuzz/support/fragments.h"
#include "fuzz/support/keys.h"
#include "fuzz/support/mutate.h"
#include "fuzz/support/pki.h"
#include "fuzz/support/resign.h"

namespace
{

constexpr uint8_t OBJECT_IDENTIFIER = 0x06;
constexpr uint8_t UTC_TIME = 0x17;
constexpr uint8_t GENERALIZED_TIME = 0x18;
constexpr uint8_t SEQUENCE = 0x30;
constexpr uint8_t CONTEXT_0 = 0xA0;
constexpr uint8_t CONTEXT_1 = 0xA1;

TlvNode AnyName(FuzzRandom *random)
{
    return TlvParseOne(FuzzName(FuzzBelow(random, FUZZ_ENTITY_COUNT)));
}

TlvNode AnyObject(FuzzRandom *random)
{
    const std::vector<forge::Bytes> &objects = FuzzChance(random, 50) ? FuzzCertificates() : FuzzCrls();
    return TlvParseOne(objects[FuzzBelow(random, objects.size())]);
}

TlvNode AnyCertificate(FuzzRandom *random)
{
    const std::vector<forge::Bytes> &objects = FuzzCertificates();
    return TlvParseOne(objects[FuzzBelow(random, objects.size())]);
}

// Picks a node for which a test holds; null when there is none.
template <typename Test>
TlvNode *PickWhere(TlvForest *forest, FuzzRandom *random, Test test)
{
    std::vector<TlvNode *> found = TlvAll(forest);
    found.erase(std::remove_if(found.begin(), found.end(), [&](const TlvNode *node) { return !test(*node); }),
                found.end());
    return found.empty() ? nullptr : found[FuzzBelow(random, found.size())];
}

// The list of extensions inside a [3] or a [0]; made when it is missing.
TlvForest *ExtensionsOf(TlvNode *body, uint8_t wrapper, size_t afterMember)
{
    for (size_t i = afterMember; i < body->children.size(); ++i) {
        if (body->children[i].identifier == wrapper && body->children[i].children.size() == 1) {
            return &body->children[i].children.front().children;
        }
    }
    TlvNode list;
    list.identifier = SEQUENCE;
    list.nested = true;
    TlvNode tagged;
    tagged.identifier = wrapper;
    tagged.nested = true;
    tagged.children.push_back(std::move(list));
    body->children.push_back(std::move(tagged));
    return &body->children.back().children.front().children;
}

// Adds an extension, or puts it in the place of the one of its kind, or drops one.
void ChangeExtensions(TlvForest *list, FuzzRandom *random)
{
    if (!list->empty() && FuzzChance(random, 25)) {
        list->erase(list->begin() + static_cast<std::ptrdiff_t>(FuzzBelow(random, list->size())));
        return;
    }
    TlvNode extension = FuzzExtension(random);
    for (TlvNode &present : *list) {
        if (!present.children.empty() && present.children[0].content == extension.children[0].content &&
            FuzzChance(random, 80)) {
            present = std::move(extension);
            return;
        }
    }
    list->push_back(std::move(extension));
}

void ChangeCertificate(TlvNode *certificate, FuzzRandom *random)
{
    TlvNode &body = certificate->children.front();
    switch (FuzzBelow(random, 7)) {
    case 0:
        body.children[CERT_ISSUER] = AnyName(random);
        break;
    case 1:
        body.children[CERT_SUBJECT] = AnyName(random);
        break;
    case 2:
        body.children[CERT_SERIAL] = FuzzSerial(random);
        break;
    case 3:
        body.children[CERT_KEY] =
            FuzzChance(random, 20) ? FuzzOddKey(random) : TlvParseOne(FuzzPublicKey(FuzzBelow(random, FUZZ_KEY_COUNT)));
        break;
    case 4:
        certificate->children[1] = FuzzAlgorithm(random);
        break;
    default:
        ChangeExtensions(ExtensionsOf(&body, 0xA3, CERT_KEY + 1), random);
        break;
    }
}

// The list of revoked certificates; made when it is missing.
TlvForest *RevokedOf(TlvNode *body)
{
    const size_t place = CRL_NEXT_UPDATE + 1;
    if (body->children.size() <= place || body->children[place].identifier != SEQUENCE) {
        TlvNode list;
        list.identifier = SEQUENCE;
        list.nested = true;
        body->children.insert(body->children.begin() + static_cast<std::ptrdiff_t>(place), std::move(list));
    }
    body->children[place].nested = true;
    return &body->children[place].children;
}

void ChangeRevoked(TlvNode *body, const TlvNode &serial, FuzzRandom *random)
{
    TlvForest *const revoked = RevokedOf(body);
    if (!revoked->empty() && FuzzChance(random, 30)) {
        revoked->erase(revoked->begin() + static_cast<std::ptrdiff_t>(FuzzBelow(random, revoked->size())));
    } else {
        const size_t count = FuzzChance(random, 3) ? 20 : 1; // as many as a CRL may have
        revoked->insert(revoked->end(), count, FuzzRevokedEntry(serial, random));
    }
}

void ChangeCrl(TlvNode *crl, const TlvNode &serial, FuzzRandom *random)
{
    TlvNode &body = crl->children.front();
    switch (FuzzBelow(random, 6)) {
    case 0:
        body.children[CRL_ISSUER] = AnyName(random);
        break;
    case 1:
        crl->children[1] = FuzzAlgorithm(random);
        break;
    case 2:
    case 3:
        ChangeRevoked(&body, serial, random);
        break;
    default:
        ChangeExtensions(ExtensionsOf(&body, CONTEXT_0, CRL_NEXT_UPDATE), random);
        break;
    }
}

bool IsTime(const TlvNode &node)
{
    return node.identifier == UTC_TIME || node.identifier == GENERALIZED_TIME;
}

bool IsAlgorithm(const TlvNode &node)
{
    return node.identifier == SEQUENCE && !node.children.empty() && node.children.size() <= 2 &&
           node.children[0].identifier == OBJECT_IDENTIFIER && node.children[0].content.size() > 2 &&
           (node.children[0].content[0] == 0x60 || node.children[0].content[0] == 0x2A) &&
           (node.children.size() == 1 || node.children[1].identifier == 0x05);
}

bool HasCertificates(const TlvNode &node)
{
    return node.identifier == CONTEXT_0 && !node.children.empty() && FuzzIsCertificate(node.children.front());
}

bool IsAttributes(const TlvNode &node)
{
    return (node.identifier == CONTEXT_0 || node.identifier == CONTEXT_1) && !node.children.empty() &&
           node.children[0].identifier == SEQUENCE && node.children[0].children.size() == 2 &&
           node.children[0].children[0].identifier == OBJECT_IDENTIFIER;
}

// IssuerAndSerialNumber.
bool IsSignerIdentifier(const TlvNode &node)
{
    return node.identifier == SEQUENCE && node.children.size() == 2 && node.children[0].identifier == SEQUENCE &&
           node.children[1].identifier == 0x02;
}

void ChangeCertificateSet(TlvForest *set, FuzzRandom *random)
{
    const size_t at = FuzzBelow(random, set->size());
    switch (FuzzBelow(random, 4)) {
    case 0:
        set->erase(set->begin() + static_cast<std::ptrdiff_t>(at));
        break;
    case 1:
        set->push_back(AnyCertificate(random));
        break;
    case 2:
        std::reverse(set->begin(), set->end());
        break;
    default:
        (*set)[at] = AnyCertificate(random);
        break;
    }
}

void ChangeSignerIdentifier(TlvNode *identifier, FuzzRandom *random)
{
    const TlvNode certificate = AnyCertificate(random);
    const TlvForest &members = certificate.children.front().children;
    if (FuzzChance(random, 70)) {
        identifier->children = {members[CERT_ISSUER], members[CERT_SERIAL]};
    } else {
        identifier->children[1] = FuzzSerial(random);
    }
}

} // namespace

void FuzzMutateObject(TlvForest *forest, FuzzRandom *random)
{
    TlvNode *const object =
        PickWhere(forest, random, [](const TlvNode &node) { return FuzzIsCertificate(node) || FuzzIsCrl(node); });
    if (object == nullptr) {
        forest->push_back(AnyObject(random));
        return;
    }
    if (FuzzChance(random, 20)) {
        TlvNode *const time = PickWhere(&object->children, random, IsTime);
        if (time != nullptr) {
            *time = FuzzTime(random);
            return;
        }
    }
    if (FuzzIsCertificate(*object)) {
        ChangeCertificate(object, random);
        return;
    }
    const TlvNode *const certificate = PickWhere(forest, random, FuzzIsCertificate);
    const bool known = certificate != nullptr && FuzzChance(random, 60);
    const TlvNode serial = known ? certificate->children[0].children[CERT_SERIAL] : FuzzSerial(random);
    ChangeCrl(object, serial, random);
}

void FuzzMutateCollection(TlvForest *file, FuzzRandom *random)
{
    const size_t at = FuzzBelow(random, file->size());
    switch (FuzzBelow(random, 6)) {
    case 0:
        if (!file->empty()) {
            file->erase(file->begin() + static_cast<std::ptrdiff_t>(at));
        }
        break;
    case 1:
        if (!file->empty()) {
            std::swap((*file)[at], (*file)[FuzzBelow(random, file->size())]);
        }
        break;
    case 2:
        if (!file->empty() && file->size() < FUZZ_MAX_OBJECTS) {
            const TlvNode copy = (*file)[at];
            file->push_back(copy);
        }
        break;
    default:
        if (file->size() < FUZZ_MAX_OBJECTS) {
            file->insert(file->begin() + static_cast<std::ptrdiff_t>(at), AnyObject(random));
        }
        break;
    }
}

void FuzzMutateMessage(TlvForest *message, FuzzRandom *random)
{
    TlvNode *node = nullptr;
    switch (FuzzBelow(random, 5)) {
    case 0:
        node = PickWhere(message, random, HasCertificates);
        if (node != nullptr) {
            ChangeCertificateSet(&node->children, random);
        }
        break;
    case 1:
        node = PickWhere(message, random, IsSignerIdentifier);
        if (node != nullptr) {
            ChangeSignerIdentifier(node, random);
        }
        break;
    case 2:
        node = PickWhere(message, random, IsAlgorithm);
        if (node != nullptr) {
            *node = FuzzAlgorithm(random);
        }
        break;
    case 3:
        node = PickWhere(message, random, IsAttributes);
        if (node != nullptr) {
            node->children.erase(node->children.begin() +
                                 static_cast<std::ptrdiff_t>(FuzzBelow(random, node->children.size())));
        }
        break;
    default:
        node = PickWhere(message, random, IsTime);
        if (node != nullptr) {
            *node = FuzzTime(random);
        }
        break;
    }
}
