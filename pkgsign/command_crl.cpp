#include "pkgsign/commands.h"
#include "pkgsign/option_values.h"
#include "tests/forge/status.h"

#include <limits>

namespace
{
constexpr size_t REVOKED_MAX = 20;                       // entries of a CRL that the verifier reads
constexpr int64_t USUAL_LIFETIME = 365LL * 24 * 60 * 60; // seconds from this update to the next

constexpr char HELP[] =
    R"(Usage: pkgsign crl DIR --out FILE [OPTION]...

Makes CRLs of the PKI in DIR. Nothing is remembered: a CRL revokes exactly what
--revoke names.

  --out FILE           where to write; - is standard output
  --format FORMAT      der (default; objects one behind the other) or pem
  --issuer ISSUER      root, issuing-ca or both (default)
  --revoke CERTFILE[,REASON[,DATE]]
                       revoke a certificate (DER or PEM) on the CRL of its issuer;
                       may be repeated, at most 20 times for one CRL.
                       REASON: unspecified, keyCompromise, cACompromise,
                       affiliationChanged, superseded, cessationOfOperation,
                       certificateHold, removeFromCRL, privilegeWithdrawn or
                       aACompromise (default: none given);
                       DATE: when it was revoked (default: this update)
  --this-update TIME   default: now
  --next-update TIME   default: 365 days after this update
  --number N           CRL number (default: this update in seconds since 1970)
  --with-certificates  put the issuing CA's certificate in front of the CRLs
  --help               show this text

Times are UTC, in the form 2026-01-31T12:00:00Z.
)";

enum class Issuer { Both, Root, IssuingCa };

struct Revocation {
    std::string path;
    int reasonCode = -1;
    int64_t date = 0;
};

struct CrlOptions {
    std::string out;
    bool pem = false;
    bool withCertificates = false;
    Issuer issuer = Issuer::Both;
    int64_t thisUpdate = 0;
    int64_t nextUpdate = 0;
    int64_t number = 0;
    std::vector<Revocation> revocations;
};

// CRLReason (RFC 5280, 5.3.1); the value 7 is not used there.
constexpr const char *REASONS[] = {"unspecified",   "keyCompromise",        "cACompromise",    "affiliationChanged",
                                   "superseded",    "cessationOfOperation", "certificateHold", nullptr,
                                   "removeFromCRL", "privilegeWithdrawn",   "aACompromise"};

forge::Status ReadReason(const std::string &name, int *reasonOut)
{
    for (int code = 0; code < static_cast<int>(std::size(REASONS)); ++code) {
        if (REASONS[code] != nullptr && name == REASONS[code]) {
            *reasonOut = code;
            return forge::Ok();
        }
    }
    return forge::Fail("option '--revoke': unknown reason '" + name + "'");
}

// Reads CERTFILE[,REASON[,DATE]]; an empty reason is none.
forge::Status ReadRevocation(const std::string &text, int64_t usualDate, Revocation *revocation)
{
    const size_t comma = text.find(',');
    revocation->path = text.substr(0, comma);
    revocation->date = usualDate;
    if (comma == std::string::npos) {
        return forge::Ok();
    }
    const size_t second = text.find(',', comma + 1);
    const std::string reason = text.substr(comma + 1, second == std::string::npos ? second : second - comma - 1);
    forge::Status status = reason.empty() ? forge::Ok() : ReadReason(reason, &revocation->reasonCode);
    if (status.ok && second != std::string::npos) {
        status = forge::ParseTime(text.substr(second + 1), &revocation->date);
        status.reason = status.ok ? "" : "option '--revoke': " + status.reason;
    }
    return status;
}

forge::Status ReadRevocations(const PkgsignArguments &arguments, CrlOptions *options)
{
    for (const std::string &text : PkgsignOptionValues(arguments, "revoke")) {
        Revocation revocation;
        const forge::Status status = ReadRevocation(text, options->thisUpdate, &revocation);
        if (!status.ok) {
            return status;
        }
        options->revocations.push_back(revocation);
    }
    return forge::Ok();
}

forge::Status ReadIssuer(const std::string &name, Issuer *issuerOut)
{
    if (name == "both") {
        *issuerOut = Issuer::Both;
    } else if (name == "root") {
        *issuerOut = Issuer::Root;
    } else if (name == "issuing-ca") {
        *issuerOut = Issuer::IssuingCa;
    } else {
        return forge::Fail("option '--issuer' must be one of root, issuing-ca, both, not '" + name + "'");
    }
    return forge::Ok();
}

forge::Status ReadTimes(const PkgsignArguments &arguments, CrlOptions *options)
{
    forge::Status status = PkgsignReadTimeOption(arguments, "this-update", PkgsignNow(), &options->thisUpdate);
    if (status.ok) {
        status =
            PkgsignReadTimeOption(arguments, "next-update", options->thisUpdate + USUAL_LIFETIME, &options->nextUpdate);
    }
    if (status.ok) {
        status = PkgsignReadNumberOption(arguments, "number", 0, std::numeric_limits<int64_t>::max(),
                                         options->thisUpdate, &options->number);
    }
    if (status.ok && options->nextUpdate < options->thisUpdate) {
        return forge::Fail("the next update must not lie before this update");
    }
    return status;
}

forge::Status ReadOptions(const PkgsignArguments &arguments, CrlOptions *options)
{
    const std::string format = PkgsignOptionValue(arguments, "format", "der");
    options->pem = format == "pem";
    options->withCertificates = PkgsignHasOption(arguments, "with-certificates");
    forge::Status status = PkgsignReadRequiredOption(arguments, "out", &options->out);
    if (status.ok && format != "pem" && format != "der") {
        status = forge::Fail("option '--format' must be one of der, pem, not '" + format + "'");
    }
    if (status.ok) {
        status = ReadIssuer(PkgsignOptionValue(arguments, "issuer", "both"), &options->issuer);
    }
    if (status.ok) {
        status = ReadTimes(arguments, options);
    }
    return status.ok ? ReadRevocations(arguments, options) : status;
}

forge::CrlRequest DescribeCrl(const forge::Identity &issuer, const CrlOptions &options)
{
    forge::CrlRequest request;
    request.issuerCertificate = issuer.certificate;
    request.issuerKey = issuer.key;
    request.thisUpdate = options.thisUpdate;
    request.nextUpdate = options.nextUpdate;
    request.crlNumber = options.number;
    return request;
}

std::vector<forge::CrlRequest> DescribeCrls(const forge::Pki &pki, const CrlOptions &options)
{
    std::vector<forge::CrlRequest> requests;
    if (options.issuer != Issuer::IssuingCa) {
        requests.push_back(DescribeCrl(pki.root, options));
    }
    if (options.issuer != Issuer::Root) {
        requests.push_back(DescribeCrl(pki.issuingCa, options));
    }
    return requests;
}

forge::Status AppendEntry(const Revocation &revocation, const forge::Bytes &certificate, forge::CrlRequest *request)
{
    forge::RevokedCertificate entry = {{}, revocation.date, revocation.reasonCode};
    const forge::Status status = forge::GetSerialNumber(certificate, &entry.serialNumber);
    if (!status.ok) {
        return status;
    }
    if (request->revoked.size() == REVOKED_MAX) {
        return forge::Fail("a CRL can revoke at most 20 certificates: the verifier reads no more");
    }
    request->revoked.push_back(entry);
    return forge::Ok();
}

// Adds a revocation to the CRL of the certificate's issuer.
forge::Status Revoke(const Revocation &revocation, std::vector<forge::CrlRequest> *requests)
{
    forge::Bytes certificate;
    forge::Bytes issuer;
    forge::Status status = PkgsignReadInput(revocation.path, &certificate);
    if (!status.ok) {
        return status;
    }
    status = forge::GetIssuer(certificate, &issuer);
    if (!status.ok) {
        return forge::Fail("'" + revocation.path + "': " + status.reason);
    }
    for (forge::CrlRequest &request : *requests) {
        forge::Bytes crlIssuer;
        status = forge::GetSubject(request.issuerCertificate, &crlIssuer);
        if (!status.ok || crlIssuer == issuer) {
            return status.ok ? AppendEntry(revocation, certificate, &request) : status;
        }
    }
    return forge::Fail("'" + revocation.path + "' was not issued by an issuer of these CRLs");
}

void AppendObject(const char *label, const forge::Bytes &object, bool pem, forge::Bytes *output)
{
    if (!pem) {
        output->insert(output->end(), object.begin(), object.end());
        return;
    }
    const std::string text = forge::Armour(label, object);
    output->insert(output->end(), text.begin(), text.end());
}

forge::Status WriteCrls(const forge::Pki &pki, const std::vector<forge::CrlRequest> &requests,
                        const CrlOptions &options)
{
    forge::Bytes output;
    if (options.withCertificates) { // the verifier has the root already, and takes none from a CRL file
        AppendObject(forge::LABEL_CERTIFICATE, pki.issuingCa.certificate, options.pem, &output);
    }
    for (const forge::CrlRequest &request : requests) {
        forge::Bytes crl;
        const forge::Status status = forge::MakeCrl(request, &crl);
        if (!status.ok) {
            return status;
        }
        AppendObject(forge::LABEL_CRL, crl, options.pem, &output);
    }
    return PkgsignWriteOutput(options.out, output);
}

forge::Status MakeCrls(const std::string &directory, const CrlOptions &options)
{
    forge::Pki pki;
    forge::Status status = forge::ReadPki(directory, &pki);
    if (!status.ok) {
        return status;
    }
    std::vector<forge::CrlRequest> requests = DescribeCrls(pki, options);
    for (const Revocation &revocation : options.revocations) {
        status = Revoke(revocation, &requests);
        if (!status.ok) {
            return status;
        }
    }
    return WriteCrls(pki, requests, options);
}

PkgsignOutcome Run(const PkgsignArguments &arguments)
{
    CrlOptions options;
    const forge::Status status = ReadOptions(arguments, &options);
    return status.ok ? PkgsignFinish(MakeCrls(arguments.operands[0], options)) : PkgsignRefuse(status);
}

} // namespace

PkgsignCommand PkgsignCrlCommand()
{
    return {"crl",
            "make certificate revocation lists",
            HELP,
            {{"out", true},
             {"format", true},
             {"issuer", true},
             {"revoke", true},
             {"this-update", true},
             {"next-update", true},
             {"number", true},
             {"with-certificates"}},
            1,
            Run};
}
