// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The device's library, asked before anything is written: what it refuses is not handed out.
#ifndef PKGSIGN_AUTHORITY_DEVICE_H
#define PKGSIGN_AUTHORITY_DEVICE_H

#include <string>
#include <vector>

#include "pkgsign/authority/device_host.h"
#include "pkgsign/crypto/types.h"
#include "pkgsign/status.h"

namespace pkgsign
{

// Limits of a device that a release has to stay within (SIGKIT_LIST_CAPACITY, SIGKIT_MAX_FILE_SIZE). Certificates of a
// CRL file: 16 less the root, and less the two of a message and the two of its token.
inline constexpr size_t DEVICE_CRLS_MAX = 16;
inline constexpr size_t DEVICE_CA_CERTIFICATES_MAX = 11;
inline constexpr size_t DEVICE_MESSAGE_CERTIFICATES_MAX = 2;
inline constexpr size_t DEVICE_FILE_SIZE_MAX = 2000000;

// What a device has when it is asked.
struct Setting {
    Certificate root;
    Bytes crlFile;
    std::vector<StandIn> standIns;
};

// The throwaway key for a real one. Added to the setting when it is not there yet.
Status StandInFor(const Key &real, Setting *setting, Key *throwawayOut);

// What a device answers.
struct DeviceAnswer {
    uint32_t status = 0xFFFFFFFF;
    bool accepted = false;
    std::string log; // the lines of the library
};

// Asks about a package. content: null judges all but the comparison of the content with the digest in the message.
DeviceAnswer AskDevice(const Setting &setting, const Bytes &message, const Bytes *content);

// The same for a content file of any size.
DeviceAnswer AskDeviceAboutFile(const Setting &setting, const Bytes &message, const std::string &contentPath);

// Refuses what a device does not load as a CRL file at all. source: for the reason.
Status CheckLoads(const Setting &setting, const std::string &source);

// Refuses a CRL file of which the library does not trust every CRL at its thisUpdate.
Status CheckCrlFile(const Setting &setting);

// Refuses a CRL file that a device with the older one would not take in its place. Both under the root and with the
// stand-ins of `newer`.
Status CheckNewer(const Setting &newer, const Bytes &olderCrlFile);

// What an answer other than an acceptance says, for a reason.
std::string Explain(const DeviceAnswer &answer);

} // namespace pkgsign

#endif
