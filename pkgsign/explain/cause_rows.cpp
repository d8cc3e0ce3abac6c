// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/cause_rows.h"

#include <algorithm>
#include <cstdlib>

#include "pkgsign/explain/cause.h"
#include "sigkit/sigkit.h"

namespace pkgsign
{
namespace
{

struct CauseRow {
    const char *code;
    const char *remedy; // empty: that of the likeliest cause of `status`, as explain has it (cause_list.def)
    const char *next;   // a command; %f, %r, %c, %s: content, root, CRL file, signature file; %o: the file that fits
    uint32_t status = 0;
};

constexpr CauseRow ROWS[] = {
    {"root-unusable", "Give the root certificate that the devices have built in, as DER or PEM.", "pkgsign inspect %r"},
    {"file-unreadable",
     "Look at the path and its permissions; of signature and CRL files devices read at most 2000000 octets.",
     "ls -l %f %c %s"},
    {"crl-file-malformed",
     "Give the devices' CRL file: DER objects back to back, or PEM blocks labelled X509 CRL and CERTIFICATE.",
     "pkgsign inspect %c"},
    {"crl-too-long", "Drop entries of certificates that have ended, or issue under a new CA.", "pkgsign inspect %c"},
    {"store-full", "Drop certificates and CRLs that are not needed: devices keep 16 of each.", "pkgsign inspect %c %s"},
    {"message-short", "Copy the signature file again; it was cut, or is something else.", "pkgsign inspect %s"},
    {"message-armour",
     "Let the file begin with -----BEGIN CMS----- or -----BEGIN PKCS7-----, with nothing before it, or use DER.",
     "pkgsign inspect %s"},
    {"message-streamed", "Write DER: leave out openssl cms -stream, or convert the file; the signature stays good.",
     "openssl cms -cmsout -inform DER -in %s -outform DER -out fixed.cms"},
    {"message-cut", "Copy the signature file again; it ends before it should.", "pkgsign inspect %s"},
    {"message-certificates", "Leave in the signer's certificate and its CA's; the CRL file carries the others.",
     "pkgsign inspect %s"},
    {"message-certificate", "Leave in RSA certificates of version 3 alone, the signer's and its CA's.",
     "pkgsign inspect %s"},
    {"message-signers", "Sign with one signer; a second one belongs into a signature file of its own.",
     "pkgsign inspect %s"},
    {"message-key-identifier", "Sign again, with issuer and serial number (leave out openssl cms -keyid).",
     "pkgsign sign %f --crl %c --out fixed.cms"},
    {"message-malformed", "See what stands there, then sign again.", "pkgsign inspect %s"},
    {"message-unsigned", "Sign the package.", "pkgsign sign %f --crl %c --out fixed.cms"},
    {"message-without-certificates", "Sign again with the certificates inside (openssl cms without -nocerts).",
     "pkgsign sign %f --crl %c --out fixed.cms"},
    {"token-missing", "Timestamp the signature.", "pkgsign timestamp %s --crl %c --out fixed.cms"},
    {"token-malformed", "Get a new token from the authority.", "pkgsign timestamp %s --crl %c --out fixed.cms"},
    {"token-certificates", "Ask the authority for tokens with at most two certificates.", "pkgsign inspect %s"},
    {"token-digest", "Ask the authority for SHA-256, SHA-384 or SHA-512.",
     "pkgsign timestamp %s --crl %c --out fixed.cms"},
    {"token-of-another-signature",
     "Timestamp this signature value anew; each signing makes another, and no token fits two.",
     "pkgsign timestamp %s --crl %c --out fixed.cms"},
    {"token-time", "", "pkgsign timestamp %s --crl %c --out fixed.cms", SIGKIT_ERR_TIME_FORMAT},
    {"token-signature", "The token was altered, or its authority errs: timestamp again.",
     "pkgsign timestamp %s --crl %c --out fixed.cms"},
    {"authority-missing", "Request tokens with the authority's certificate (certReq), or put it into the CRL file.",
     "pkgsign timestamp %s --crl %c --out fixed.cms"},
    {"authority-usage", "Timestamp with an authority whose certificate is for timeStamping alone.",
     "pkgsign inspect %s"},
    {"signer-missing",
     "Put the signer's certificate into the message. A self-signed one is left out: signers need a CA.",
     "pkgsign inspect %s"},
    {"signer-usage", "Sign with a certificate for codeSigning, or issue one.", "pkgsign issue --as signer"},
    {"signer-is-authority", "Sign with the code signing certificate; the authority's is for timestamps.",
     "pkgsign sign %f --crl %c --out fixed.cms"},
    {"signature-wrong", "The message was altered, or the certificate is not the signing key's: sign again.",
     "pkgsign sign %f --crl %c --out fixed.cms"},
    {"signature-pss", "Sign again without RSA-PSS (leave out rsa_padding_mode:pss).",
     "pkgsign sign %f --crl %c --out fixed.cms"},
    {"signature-attributes", "The signing tool is broken: sign with another.",
     "pkgsign sign %f --crl %c --out fixed.cms"},
    {"signature-unsupported", "Sign with RSA of at most 4096 bits and SHA-256, SHA-384 or SHA-512.",
     "pkgsign inspect %s"},
    {"certificate-expired",
     "Renew the certificate (pkgsign issue --renew), sign and timestamp again. Older packages stay good.",
     "pkgsign list"},
    {"certificate-not-yet-valid", "Set the authority's clock, or wait; then sign and timestamp again.",
     "pkgsign inspect %s"},
    {"certificate-dates", "Issue the certificate anew, with dates as UTCTime or GeneralizedTime.",
     "pkgsign inspect %s"},
    {"certificate-without-root",
     "Put the CA certificates into the CRL file or the message; and give the root under which they were issued.",
     "pkgsign inspect %r %c %s"},
    {"certificate-algorithm", "Use RSA of at most 4096 bits with SHA-256, SHA-384 or SHA-512; leave others out.",
     "pkgsign inspect %s"},
    {"certificate-revoked", "", "pkgsign list", SIGKIT_ERR_CERT_REVOKED},
    {"crl-entry", "Issue the CRL anew.", "pkgsign inspect %c"},
    {"crl-expired", "", "pkgsign crl --out crls.der", SIGKIT_ERR_NO_CRL},
    {"crl-missing", "Put a CRL of this CA into the CRL file.", "pkgsign crl --add ca-crl.der --out fixed-crls.der"},
    {"crl-of-root-missing", "Put the root's CRL into the CRL file: each CA of the path needs one, the root included.",
     "pkgsign crl --out fixed-crls.der"},
    {"crl-unusable", "Make the CRL file anew, with the certificates that have signed its CRLs.", "pkgsign inspect %c"},
    {"path-too-deep", "Simplify the PKI: the issuers of indirect CRLs cover each other.", "pkgsign inspect %c"},
    {"content-converted", "Bring the file again as it is, in binary mode.",
     "pkgsign check %f --root %r --crl %c --signature %s"},
    {"content-other-file", "Give the file that belongs to this signature, or sign this one.",
     "pkgsign check %o --root %r --crl %c --signature %s"},
    {"content-differs", "Copy the content again; or look for the file that was signed with --candidates.",
     "pkgsign check %f --root %r --crl %c --signature %s --candidates ."},
    {"machine", "Try again with more memory; look at the log.", "pkgsign check %f --root %r --crl %c --signature %s"},
};

// In apostrophes where a shell would see more than a word, and not as what a command would take for an option.
std::string ForShell(const std::string &path)
{
    if (path[0] == '-') {
        return ForShell("./" + path);
    }
    if (!path.empty() && path.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_./-") ==
                             std::string::npos) {
        return path;
    }
    std::string quoted = "'";
    for (const char octet : path) {
        quoted += octet == '\'' ? std::string("'\\''") : std::string(1, octet);
    }
    return quoted + "'";
}

// "-" is standard input, in the place of the root's file alone.
std::string RootForShell(const std::string &path)
{
    return path == "-" ? path : ForShell(path);
}

// The code must be one of the table's.
const CauseRow &FindCauseRow(const std::string &code)
{
    for (const CauseRow &row : ROWS) {
        if (code == row.code) {
            return row;
        }
    }
    std::abort(); // the codes stand in check_cause.cpp
}

std::string RemedyOf(const CauseRow &row)
{
    std::string remedy = row.remedy;
    for (const Cause &cause : AllCauses()) {
        remedy = remedy.empty() && cause.status == row.status ? cause.remedy : remedy;
    }
    remedy.erase(std::remove(remedy.begin(), remedy.end(), '`'), remedy.end()); // marks of code are for documents
    return remedy;
}

} // namespace

std::string FillPaths(const std::string &command, const Check &check)
{
    std::string text;
    for (size_t i = 0; i < command.size(); ++i) {
        if (command[i] != '%') {
            text += command[i];
            continue;
        }
        const char which = command[++i];
        text += which == 'r' ? RootForShell(check.rootPath)
                             : ForShell(which == 'f'   ? check.contentPath
                                        : which == 'c' ? check.crlPath
                                        : which == 'o' ? check.content.candidates.front()
                                                       : check.signaturePath);
    }
    return text;
}

void SetCause(Check *check, const char *code, const std::string &text)
{
    const CauseRow &row = FindCauseRow(code);
    check->cause = {row.code, text, RemedyOf(row), FillPaths(row.next, *check)};
}

} // namespace pkgsign
