// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "fuzz/support/mutate.h"

#include <algorithm>
#include <cstring>

#include "fuzz/support/mutate_element.h"
#include "fuzz/support/mutate_meaning.h"
#include "fuzz/support/resign.h"

extern "C" size_t LLVMFuzzerMutate(uint8_t *data, size_t size, size_t maxSize);

namespace
{

// Chances out of 100.
constexpr size_t PLAIN_MUTATION = 8;    // libFuzzer's own, which knows no structure
constexpr size_t FLAG_MUTATION = 15;    // the flags change as well
constexpr size_t MEMORY_RUNS_OUT = 3;   // at some allocation
constexpr size_t OBJECTS_RESIGNED = 93; // certificates and CRLs
constexpr size_t MESSAGE_RESIGNED = 95; // signers and timestamps
constexpr size_t MAX_FAIL_AT = 400;     // a verification allocates fewer blocks
constexpr size_t CONTENT_ROOM = 64;     // octets that content may grow by

size_t CopyOut(const forge::Bytes &octets, uint8_t *data, size_t maxSize)
{
    const size_t size = std::min(octets.size(), maxSize);
    std::copy(octets.begin(), octets.begin() + static_cast<std::ptrdiff_t>(size), data);
    return size;
}

void MutateFlags(FuzzContainer *container, FuzzRandom *random)
{
    container->flags[1] = 0;
    container->flags[2] = 0;
    if (FuzzChance(random, FLAG_MUTATION)) {
        container->flags[0] = static_cast<uint8_t>(container->flags[0] ^ (1u << FuzzBelow(random, 8)));
    }
    if (FuzzChance(random, MEMORY_RUNS_OUT)) {
        const size_t failAt = 1 + FuzzBelow(random, MAX_FAIL_AT);
        container->flags[1] = static_cast<uint8_t>(failAt);
        container->flags[2] = static_cast<uint8_t>(failAt >> 8);
    }
}

void MutateContent(forge::Bytes *content)
{
    const size_t size = content->size();
    content->resize(size + CONTENT_ROOM);
    content->resize(LLVMFuzzerMutate(content->data(), size, content->size()));
}

void MutateFile(TlvForest *file, const TlvForest &donor, FuzzRandom *random)
{
    switch (FuzzBelow(random, 5)) {
    case 0:
        FuzzMutateElement(file, donor, random);
        break;
    case 1:
    case 2:
        FuzzMutateCollection(file, random);
        break;
    default:
        FuzzMutateObject(file, random);
        break;
    }
}

void MutateMessage(TlvForest *message, const TlvForest &donor, FuzzRandom *random)
{
    switch (FuzzBelow(random, 4)) {
    case 0:
        FuzzMutateElement(message, donor, random);
        break;
    case 1:
        FuzzMutateObject(message, random);
        break;
    default:
        FuzzMutateMessage(message, random);
        break;
    }
}

// One to three changes, most often one.
size_t CountChanges(FuzzRandom *random)
{
    return 1 + (FuzzChance(random, 35) ? 1 : 0) + (FuzzChance(random, 15) ? 1 : 0);
}

} // namespace

size_t FuzzMutateDetached(uint8_t *data, size_t size, size_t maxSize, unsigned int seed)
{
    FuzzRandom random = {seed};
    if (FuzzChance(&random, PLAIN_MUTATION)) {
        return LLVMFuzzerMutate(data, size, maxSize);
    }
    FuzzContainer container = FuzzUnpack(data, size);
    TlvForest message = TlvParse(container.parts[FUZZ_PART_MESSAGE]);
    TlvForest crls = TlvParse(container.parts[FUZZ_PART_CRLS]);
    FuzzRememberSigners(&message);
    FuzzRememberSigners(&crls);
    MutateFlags(&container, &random);
    for (size_t left = CountChanges(&random); left != 0; --left) {
        if (FuzzChance(&random, 50)) {
            MutateFile(&crls, message, &random);
        } else if (FuzzChance(&random, 92)) {
            MutateMessage(&message, crls, &random);
        } else {
            MutateContent(&container.parts[FUZZ_PART_CONTENT]);
        }
    }
    if (FuzzChance(&random, OBJECTS_RESIGNED)) {
        FuzzResignObjects(&message, &random);
        FuzzResignObjects(&crls, &random);
    }
    if (FuzzChance(&random, MESSAGE_RESIGNED)) {
        FuzzResignMessage(&message, crls, container.parts[FUZZ_PART_CONTENT], &random);
    }
    container.parts[FUZZ_PART_MESSAGE] = TlvEncode(message);
    container.parts[FUZZ_PART_CRLS] = TlvEncode(crls);
    return CopyOut(FuzzPack(container), data, maxSize);
}

size_t FuzzMutateCrlFiles(uint8_t *data, size_t size, size_t maxSize, unsigned int seed)
{
    FuzzRandom random = {seed};
    if (FuzzChance(&random, PLAIN_MUTATION)) {
        return LLVMFuzzerMutate(data, size, maxSize);
    }
    FuzzContainer container = FuzzUnpack(data, size);
    TlvForest files[] = {TlvParse(container.parts[0]), TlvParse(container.parts[1])};
    const bool resign = FuzzChance(&random, OBJECTS_RESIGNED);
    MutateFlags(&container, &random);
    for (size_t left = CountChanges(&random); left != 0; --left) {
        const size_t which = FuzzBelow(&random, 2);
        if (FuzzChance(&random, 5)) {
            files[which] = files[1 - which];
        }
        FuzzRememberSigners(&files[which]);
        MutateFile(&files[which], files[1 - which], &random);
        if (resign) {
            FuzzResignObjects(&files[which], &random);
        }
    }
    container.parts[0] = TlvEncode(files[0]);
    container.parts[1] = TlvEncode(files[1]);
    return CopyOut(FuzzPack(container), data, maxSize);
}

size_t FuzzMutateObjects(uint8_t *data, size_t size, size_t maxSize, unsigned int seed)
{
    FuzzRandom random = {seed};
    if (FuzzChance(&random, 50)) {
        return LLVMFuzzerMutate(data, size, maxSize);
    }
    TlvForest forest = TlvParse(forge::Bytes(data, data + size));
    const TlvForest donor = forest;
    for (size_t left = CountChanges(&random); left != 0; --left) {
        if (FuzzChance(&random, 70)) {
            FuzzMutateElement(&forest, donor, &random);
        } else {
            FuzzMutateObject(&forest, &random);
        }
    }
    return CopyOut(TlvEncode(forest), data, maxSize);
}

size_t FuzzCross(const uint8_t *data1, size_t size1, const uint8_t *data2, size_t size2, uint8_t *out, size_t maxSize,
                 unsigned int seed)
{
    FuzzRandom random = {seed};
    FuzzContainer first = FuzzUnpack(data1, size1);
    const FuzzContainer second = FuzzUnpack(data2, size2);
    const size_t part = FuzzBelow(&random, 2);
    if (part == 1 && FuzzChance(&random, 50)) {
        first.parts[part].insert(first.parts[part].end(), second.parts[part].begin(), second.parts[part].end());
    } else {
        first.parts[part] = second.parts[part];
    }
    return CopyOut(FuzzPack(first), out, maxSize);
}
