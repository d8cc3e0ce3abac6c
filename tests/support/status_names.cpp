#include "tests/support/status_names.h"

#include <stdio.h>

#include "sigkit/sigkit.h"

#define NAME(code)                                                                                                     \
    case code:                                                                                                         \
        return #code

std::string StatusName(uint32_t status)
{
    // Two codes of one value would be two equal cases, which do not compile.
    switch (status) {
        NAME(SIGKIT_OK);
        NAME(SIGKIT_ERR_NO_MEMORY);
        NAME(SIGKIT_ERR_VALUE_TOO_LONG);
        NAME(SIGKIT_ERR_FILE_OPEN);
        NAME(SIGKIT_ERR_FILE_READ);
        NAME(SIGKIT_ERR_FILE_EMPTY);
        NAME(SIGKIT_ERR_FILE_TOO_BIG);
        NAME(SIGKIT_ERR_BUFFER_END);
        NAME(SIGKIT_ERR_TIME_FORMAT);
        NAME(SIGKIT_ERR_BASE64);
        NAME(SIGKIT_ERR_NAME_TOO_LONG);
        NAME(SIGKIT_ERR_LIST_FULL);
        NAME(SIGKIT_ERR_CTX_NULL);
        NAME(SIGKIT_ERR_PARAM);
        NAME(SIGKIT_ERR_CTX_TAG);
        NAME(SIGKIT_ERR_CERT_DUPLICATE);
        NAME(SIGKIT_ERR_CERT_REVOKED);
        NAME(SIGKIT_ERR_KEY_TOO_LONG);
        NAME(SIGKIT_ERR_NO_ROOT);
        NAME(SIGKIT_ERR_CERT_USAGE);
        NAME(SIGKIT_ERR_NAME_ATTRIBUTE);
        NAME(SIGKIT_ERR_CERT_UNTRUSTED);
        NAME(SIGKIT_ERR_NO_CRL);
        NAME(SIGKIT_ERR_CERT_NOT_YET_VALID);
        NAME(SIGKIT_ERR_CERT_EXPIRED);
        NAME(SIGKIT_ERR_TIMESTAMP_HASH);
        NAME(SIGKIT_ERR_PATH_TOO_DEEP);
        NAME(SIGKIT_ERR_CRL_LOCKED);
        NAME(SIGKIT_ERR_CRL_LOAD);
        NAME(SIGKIT_ERR_CRL_EXPIRED);
        NAME(SIGKIT_ERR_CRL_UNVERIFIED);
        NAME(SIGKIT_ERR_CRL_BUNDLE_EMPTY);
        NAME(SIGKIT_ERR_CRL_BUNDLE_UNVERIFIED);
        NAME(SIGKIT_ERR_CRL_DUPLICATE);
        NAME(SIGKIT_ERR_CRL_DECODE);
        NAME(SIGKIT_ERR_CRL_ISSUER_TWICE);
        NAME(SIGKIT_ERR_CRL_COVERAGE);
        NAME(SIGKIT_ERR_SIGNATURE_TOO_LONG);
        NAME(SIGKIT_ERR_SIGNER_NOT_FOUND);
        NAME(SIGKIT_ERR_DIGEST_CONFLICT);
        NAME(SIGKIT_ERR_ARMOUR);
        NAME(SIGKIT_ERR_DIGEST_ALGORITHM);
        NAME(SIGKIT_ERR_NOT_BEGUN);
        NAME(SIGKIT_ERR_CMS_DECODE);
        NAME(SIGKIT_ERR_SIGNATURE);
        NAME(SIGKIT_ERR_ALGORITHM);
        NAME(SIGKIT_ERR_SIGNED_DATA);
        NAME(SIGKIT_ERR_TIMESTAMP_SIGNER);
        NAME(SIGKIT_ERR_TIMESTAMP_IMPRINT);
        NAME(SIGKIT_ERR_TIMESTAMP_SIGNATURE);
        NAME(SIGKIT_ERR_ASN_NO_DECODER);
        NAME(SIGKIT_ERR_ASN_TAG);
        NAME(SIGKIT_ERR_ASN_OCTETS_TAG);
        NAME(SIGKIT_ERR_ASN_LENGTH);
        NAME(SIGKIT_ERR_ASN_PEEK);
        NAME(SIGKIT_ERR_ASN_SEQUENCE);
        NAME(SIGKIT_ERR_ASN_BITS);
        NAME(SIGKIT_ERR_ASN_INTEGER);
        NAME(SIGKIT_ERR_ASN_SET);
        NAME(SIGKIT_ERR_ASN_BOOLEAN);
        NAME(SIGKIT_ERR_UNKNOWN);
    default:
        break;
    }
    char digits[16] = {};
    (void)snprintf(digits, sizeof(digits), "0x%08X", status);
    return digits;
}
