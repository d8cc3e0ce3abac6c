// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/authority/certificates.h"

#include <algorithm>
#include <cstring>

#include <openssl/rand.h>
#include <openssl/x509v3.h>

#include "pkgsign/crypto/digest.h"
#include "pkgsign/crypto/keys.h"
#include "pkgsign/files/files.h"

namespace pkgsign
{
namespace
{

constexpr long VERSION_3 = 2;

struct ExtensionText {
    int nid;
    const char *value;
};

// RFC 5280, 4.2.1.3, 4.2.1.9 and 4.2.1.12. RFC 3161, 2.3: time stamping is the only purpose, and critical.
constexpr ExtensionText ROOT_EXTENSIONS[] = {{NID_basic_constraints, "critical,CA:TRUE"},
                                             {NID_key_usage, "critical,keyCertSign,cRLSign"}};
constexpr ExtensionText CA_EXTENSIONS[] = {{NID_basic_constraints, "critical,CA:TRUE,pathlen:0"},
                                           {NID_key_usage, "critical,keyCertSign,cRLSign"}};
constexpr ExtensionText SIGNER_EXTENSIONS[] = {{NID_basic_constraints, "critical,CA:FALSE"},
                                               {NID_key_usage, "critical,digitalSignature"},
                                               {NID_ext_key_usage, "critical,codeSigning"}};
constexpr ExtensionText TIMESTAMP_EXTENSIONS[] = {{NID_basic_constraints, "critical,CA:FALSE"},
                                                  {NID_key_usage, "critical,digitalSignature"},
                                                  {NID_ext_key_usage, "critical,timeStamping"}};

bool AddExtension(X509 *certificate, X509 *issuer, const ExtensionText &text)
{
    X509V3_CTX context = {};
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    const ExtensionPtr extension(X509V3_EXT_conf_nid(nullptr, &context, text.nid, text.value));
    return extension != nullptr && X509_add_ext(certificate, extension.get(), -1) == 1;
}

template <size_t Count>
bool AddAll(X509 *certificate, X509 *issuer, const ExtensionText (&texts)[Count])
{
    for (const ExtensionText &text : texts) {
        if (!AddExtension(certificate, issuer, text)) {
            return false;
        }
    }
    return true;
}

bool AddProfile(X509 *certificate, X509 *issuer, Role role)
{
    switch (role) {
    case Role::Root:
        return AddAll(certificate, issuer, ROOT_EXTENSIONS);
    case Role::IssuingCa:
        return AddAll(certificate, issuer, CA_EXTENSIONS);
    case Role::Signer:
        return AddAll(certificate, issuer, SIGNER_EXTENSIONS);
    default:
        return AddAll(certificate, issuer, TIMESTAMP_EXTENSIONS);
    }
}

bool SetSerial(X509 *certificate, const Bytes &serial)
{
    const BnPtr number(BN_bin2bn(serial.data(), static_cast<int>(serial.size()), nullptr));
    return number != nullptr && BN_to_ASN1_INTEGER(number.get(), X509_get_serialNumber(certificate)) != nullptr;
}

bool SetTimes(X509 *certificate, int64_t notBefore, int64_t notAfter)
{
    const TimePtr first = MakeTime(notBefore);
    const TimePtr last = MakeTime(notAfter);
    return first != nullptr && last != nullptr && X509_set1_notBefore(certificate, first.get()) == 1 &&
           X509_set1_notAfter(certificate, last.get()) == 1;
}

bool AddAttribute(X509_NAME *name, const char *type, const std::string &value)
{
    return X509_NAME_add_entry_by_txt(name, type, MBSTRING_UTF8, reinterpret_cast<const unsigned char *>(value.data()),
                                      static_cast<int>(value.size()), -1, 0) == 1;
}

std::string NumberText(const BIGNUM *number)
{
    char *const text = BN_bn2hex(number);
    const std::string result = text == nullptr ? "" : text;
    OPENSSL_free(text);
    return result;
}

std::string TextOf(BIO *memory)
{
    const Bytes text = TakeMemory(memory);
    return std::string(text.begin(), text.end());
}

bool HasPurpose(const X509 *certificate, int nid)
{
    EXTENDED_KEY_USAGE *const usage = static_cast<EXTENDED_KEY_USAGE *>(
        X509_get_ext_d2i(const_cast<X509 *>(certificate), NID_ext_key_usage, nullptr, nullptr));
    bool has = false;
    for (int i = 0; usage != nullptr && i < sk_ASN1_OBJECT_num(usage); ++i) {
        has = has || OBJ_obj2nid(sk_ASN1_OBJECT_value(usage, i)) == nid;
    }
    EXTENDED_KEY_USAGE_free(usage);
    return has;
}

} // namespace

Status MakeCertificate(const CertificateFields &fields, EVP_PKEY *signingKey, Certificate *certificateOut)
{
    Certificate certificate = ShareCertificate(X509_new());
    X509 *const made = certificate.get();
    X509 *const issuer = fields.issuer == nullptr ? made : fields.issuer.get();
    const X509_NAME *const issuerName =
        fields.issuer == nullptr ? fields.subject.get() : X509_get_subject_name(fields.issuer.get());
    const bool described =
        made != nullptr && X509_set_version(made, VERSION_3) == 1 && SetSerial(made, fields.serial) &&
        X509_set_issuer_name(made, const_cast<X509_NAME *>(issuerName)) == 1 &&
        X509_set_subject_name(made, fields.subject.get()) == 1 && SetTimes(made, fields.notBefore, fields.notAfter) &&
        X509_set_pubkey(made, fields.publicKey.get()) == 1 &&
        AddExtension(made, issuer, {NID_subject_key_identifier, "hash"}) &&
        AddExtension(made, issuer, {NID_authority_key_identifier, "keyid:always"}) &&
        AddProfile(made, issuer, fields.role);
    if (!described || X509_sign(made, signingKey, EVP_sha256()) == 0) {
        return FailCrypto("cannot make the certificate");
    }
    *certificateOut = std::move(certificate);
    return {};
}

Status FitRootSerial(CertificateFields *fields, size_t namesSize)
{
    Key throwaway;
    Certificate trial;
    fields->serial = {0x01};
    Status status = ThrowawayKey(ROOT_KEY_BITS, &throwaway);
    if (status.ok) {
        status = MakeCertificate(*fields, throwaway.get(), &trial);
    }
    if (!status.ok) {
        return status;
    }
    const size_t size = EncodeCertificate(trial.get()).size();
    const size_t serialSize = ROOT_SIZE + 1 - size;
    if (size > ROOT_SIZE || serialSize > SERIAL_SIZE_MAX) {
        return Fail("organization and root name have " + std::to_string(namesSize) +
                    " octets together; they must have " + std::to_string(NAMES_SIZE_MIN) + " to " +
                    std::to_string(NAMES_SIZE_MAX) + ", because a device takes a root certificate of exactly " +
                    std::to_string(ROOT_SIZE) + " octets");
    }
    fields->serial = DerivedSerial(*fields, serialSize);
    return {};
}

Status MakeName(const std::string &country, const std::string &organization, const std::string &commonName,
                NamePtr *nameOut)
{
    NamePtr name(X509_NAME_new());
    if (country.size() != 2) {
        return Fail("the country is a code of two letters, not '" + Printable(country) + "'");
    }
    if (organization.empty() || commonName.empty() || name == nullptr || !AddAttribute(name.get(), "C", country) ||
        !AddAttribute(name.get(), "O", organization) || !AddAttribute(name.get(), "CN", commonName)) {
        return FailCrypto("cannot make a name of organization '" + Printable(organization) + "' and common name '" +
                          Printable(commonName) + "'; each has 1 to 64 characters");
    }
    *nameOut = std::move(name);
    return {};
}

Status MakeSerial(size_t size, Bytes *serialOut)
{
    Bytes serial(size);
    if (RAND_bytes(serial.data(), static_cast<int>(size)) != 1) {
        return FailCrypto("cannot make a serial number");
    }
    serial[0] = static_cast<uint8_t>((serial[0] & 0x7F) | 0x40); // positive, and of this length for sure
    *serialOut = std::move(serial);
    return {};
}

Bytes DerivedSerial(const CertificateFields &fields, size_t size)
{
    Bytes input = fields.issuer == nullptr ? Bytes() : EncodeCertificate(fields.issuer.get());
    const Bytes subject = EncodeDer(i2d_X509_NAME, fields.subject.get());
    const Bytes key = EncodeDer(i2d_PUBKEY, fields.publicKey.get());
    const std::string rest =
        std::to_string(fields.notBefore) + " " + std::to_string(fields.notAfter) + RoleName(fields.role);
    input.insert(input.end(), subject.begin(), subject.end());
    input.insert(input.end(), key.begin(), key.end());
    input.insert(input.end(), rest.begin(), rest.end());
    Bytes serial = Digest(EVP_sha256(), input);
    serial.resize(size);
    serial[0] = static_cast<uint8_t>((serial[0] & 0x7F) | 0x40);
    return serial;
}

bool IsSameNameForDevice(const X509_NAME *a, const X509_NAME *b)
{
    const int count = X509_NAME_entry_count(a);
    int rdn = -1;
    int j = 0;
    for (int i = 0; i < count; ++i) {
        X509_NAME_ENTRY *const first = X509_NAME_get_entry(a, i);
        if (X509_NAME_ENTRY_set(first) == rdn) {
            continue; // behind the first attribute of its RDN
        }
        rdn = X509_NAME_ENTRY_set(first);
        while (j < X509_NAME_entry_count(b) && X509_NAME_ENTRY_set(X509_NAME_get_entry(b, j)) != rdn) {
            ++j;
        }
        X509_NAME_ENTRY *const second = j < X509_NAME_entry_count(b) ? X509_NAME_get_entry(b, j) : nullptr;
        if (second == nullptr || OBJ_cmp(X509_NAME_ENTRY_get_object(first), X509_NAME_ENTRY_get_object(second)) != 0) {
            return false;
        }
        const ASN1_STRING *const value = X509_NAME_ENTRY_get_data(first);
        const ASN1_STRING *const other = X509_NAME_ENTRY_get_data(second);
        if (ASN1_STRING_length(value) != ASN1_STRING_length(other) ||
            std::memcmp(ASN1_STRING_get0_data(value), ASN1_STRING_get0_data(other),
                        static_cast<size_t>(ASN1_STRING_length(value))) != 0) {
            return false;
        }
    }
    const int last = X509_NAME_entry_count(b) - 1;
    return last < 0 ? rdn < 0 : X509_NAME_ENTRY_set(X509_NAME_get_entry(b, last)) == rdn;
}

Status ParseSerial(const std::string &text, std::string *textOut)
{
    std::string digits;
    std::remove_copy(text.begin(), text.end(), std::back_inserter(digits), ':');
    digits.erase(0, digits.find_first_not_of('0'));
    BIGNUM *number = nullptr;
    const bool isNumber = !digits.empty() && digits.size() <= 2 * SERIAL_SIZE_MAX &&
                          digits.find_first_not_of("0123456789ABCDEFabcdef") == std::string::npos &&
                          BN_hex2bn(&number, digits.c_str()) != 0;
    const BnPtr owned(number);
    if (!isNumber) {
        return Fail("'" + Printable(text) + "' is no serial number; it wants up to 40 hexadecimal digits");
    }
    *textOut = NumberText(number);
    return {};
}

std::string SerialText(const ASN1_INTEGER *serial)
{
    const BnPtr number(ASN1_INTEGER_to_BN(serial, nullptr));
    return number == nullptr ? "" : NumberText(number.get());
}

std::string SerialText(const X509 *certificate)
{
    return SerialText(X509_get0_serialNumber(certificate));
}

std::string NameText(const X509_NAME *name)
{
    const BioPtr memory(BIO_new(BIO_s_mem()));
    (void)X509_NAME_print_ex(memory.get(), name, 0,
                             (XN_FLAG_ONELINE & ~ASN1_STRFLGS_ESC_MSB) | ASN1_STRFLGS_UTF8_CONVERT);
    return TextOf(memory.get());
}

std::string NameAttribute(const X509_NAME *name, int type)
{
    const int index = X509_NAME_get_index_by_NID(const_cast<X509_NAME *>(name), type, -1);
    unsigned char *text = nullptr;
    const int size =
        index < 0 ? -1 : ASN1_STRING_to_UTF8(&text, X509_NAME_ENTRY_get_data(X509_NAME_get_entry(name, index)));
    const std::string result(reinterpret_cast<char *>(text), static_cast<size_t>(size > 0 ? size : 0));
    OPENSSL_free(text);
    return result;
}

int64_t NotBefore(const X509 *certificate)
{
    return TimeSeconds(X509_get0_notBefore(certificate));
}

int64_t NotAfter(const X509 *certificate)
{
    return TimeSeconds(X509_get0_notAfter(certificate));
}

Status ReadRole(const X509 *certificate, Role *roleOut)
{
    X509 *const cert = const_cast<X509 *>(certificate);
    if (X509_check_ca(cert) == 1) {
        *roleOut = X509_check_issued(cert, cert) == X509_V_OK ? Role::Root : Role::IssuingCa;
        return {};
    }
    if (HasPurpose(certificate, NID_code_sign) != HasPurpose(certificate, NID_time_stamp)) {
        *roleOut = HasPurpose(certificate, NID_code_sign) ? Role::Signer : Role::Timestamp;
        return {};
    }
    return Fail("the certificate '" + NameText(X509_get_subject_name(certificate)) +
                "' is neither a CA's nor for code signing or time stamping alone");
}

Entry DescribeCertificate(const X509 *certificate, Role role)
{
    Entry entry;
    entry.role = role;
    entry.serial = SerialText(certificate);
    entry.subject = NameText(X509_get_subject_name(certificate));
    entry.notBefore = NotBefore(certificate);
    entry.notAfter = NotAfter(certificate);
    return entry;
}

std::string DigestText(const Bytes &data)
{
    return HexText(Digest(EVP_sha256(), data));
}

std::string ContentDigest(const X509 *certificate)
{
    return DigestText(EncodeDer(i2d_re_X509_tbs, const_cast<X509 *>(certificate)));
}

std::string ContentDigest(const X509_CRL *crl)
{
    return DigestText(EncodeDer(i2d_re_X509_CRL_tbs, const_cast<X509_CRL *>(crl)));
}

std::string ContentDigest(X509_REQ *request)
{
    return DigestText(EncodeDer(i2d_re_X509_REQ_tbs, request));
}

std::string ContentText(X509_REQ *request)
{
    const BioPtr memory(BIO_new(BIO_s_mem()));
    (void)X509_REQ_print_ex(memory.get(), request, XN_FLAG_ONELINE, X509_FLAG_NO_SIGDUMP);
    return TextOf(memory.get());
}

std::string ContentText(X509 *certificate)
{
    const BioPtr memory(BIO_new(BIO_s_mem()));
    (void)X509_print_ex(memory.get(), certificate, XN_FLAG_ONELINE, X509_FLAG_NO_SIGDUMP);
    return TextOf(memory.get());
}

std::string ContentText(X509_CRL *crl)
{
    const BioPtr memory(BIO_new(BIO_s_mem()));
    (void)X509_CRL_print_ex(memory.get(), crl, XN_FLAG_ONELINE);
    const std::string text = TextOf(memory.get());
    return text.substr(0, text.rfind("    Signature Algorithm")); // the throwaway signature is no content
}

} // namespace pkgsign
