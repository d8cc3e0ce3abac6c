// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/check_words.h"

#include <cstdio>
#include <cstring>

#include <openssl/err.h>

#include "pkgsign/authority/crls.h"
#include "pkgsign/authority/device.h"
#include "pkgsign/files/files.h"
#include "pkgsign/files/objects.h"
#include "pkgsign/files/time.h"

namespace pkgsign
{

bool IsWritable(const MaybeTime &time)
{
    return time.has_value() && *time >= WRITABLE_FIRST && *time <= WRITABLE_LAST;
}

std::string TimeText(const MaybeTime &time)
{
    return IsWritable(time) ? FormatTime(*time) : "(a time that cannot be read)";
}

std::string ReasonText(uint32_t reason)
{
    const char *const name = reason == 0 ? "no reason" : ReasonName(reason);
    return name != nullptr ? name : "unknown reason " + std::to_string(reason);
}

std::string WhereItStopped(const ReadProblem &problem)
{
    if (problem.kind == ReadProblem::Kind::None) {
        return "";
    }
    char octet[32] = " (the end)";
    if (problem.octet >= 0) {
        (void)std::snprintf(octet, sizeof(octet), " (%02x)", static_cast<unsigned>(problem.octet));
    }
    return ": the decoder stopped at octet " + std::to_string(problem.offset) + octet;
}

bool StartsLikeText(const std::string &path)
{
    Bytes data;
    if (!ReadWhole(path, &data, DEVICE_FILE_SIZE_MAX).ok || data.empty() || data[0] == 0x30) {
        return false; // an encoded SEQUENCE begins with the digit 0
    }
    const std::string text(data.begin(), data.end());
    return text.rfind("-----BEGIN ", 0) != 0 &&
           (text.find("-----BEGIN ") != std::string::npos || text.find('\0') == std::string::npos);
}

bool IsSignedWithPss(const std::string &path)
{
    Bytes data;
    if (!ReadWhole(path, &data, DEVICE_FILE_SIZE_MAX).ok) {
        return false;
    }
    const Bytes der = RemoveArmour(data);
    const unsigned char *octets = der.data();
    const CmsPtr message(d2i_CMS_ContentInfo(nullptr, &octets, static_cast<long>(der.size())));
    ERR_clear_error();
    STACK_OF(CMS_SignerInfo) *const signers = message == nullptr ? nullptr : CMS_get0_SignerInfos(message.get());
    if (signers == nullptr || sk_CMS_SignerInfo_num(signers) != 1) {
        return false;
    }
    X509_ALGOR *algorithm = nullptr;
    CMS_SignerInfo_get0_algs(sk_CMS_SignerInfo_value(signers, 0), nullptr, nullptr, nullptr, &algorithm);
    return algorithm != nullptr && OBJ_obj2nid(algorithm->algorithm) == NID_rsassaPss;
}

std::string Quoted(const std::string &text)
{
    return "'" + text + "'";
}

} // namespace pkgsign
