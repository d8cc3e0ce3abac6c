// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/forge/status.h"

#include <openssl/rand.h>

namespace forge
{
namespace
{
constexpr size_t SERIAL_NUMBER_SIZE_MAX = 20; // RFC 5280, 4.1.2.2

} // namespace

Status MakeSerialNumber(size_t size, Bytes *serialNumberOut)
{
    if (size == 0 || size > SERIAL_NUMBER_SIZE_MAX) {
        return Fail("a serial number must have 1 to 20 octets");
    }
    Bytes serialNumber(size);
    if (RAND_bytes(serialNumber.data(), static_cast<int>(size)) != 1) {
        return FailCrypto("cannot get random octets");
    }
    // Neither zero, which would shorten the number, nor with the sign bit set, which would lengthen it.
    serialNumber.front() = static_cast<uint8_t>((serialNumber.front() & 0x3F) | 0x40);
    *serialNumberOut = std::move(serialNumber);
    return Ok();
}
} // namespace forge
