#include "pkgsign/commands.h"
#include "pkgsign/option_values.h"
#include "pkgsign/token_options.h"
#include "tests/forge/status.h"

namespace
{
constexpr char HELP[] =
    R"(Usage: pkgsign sign DIR --in FILE --out FILE [OPTION]...

Signs a file with the PKI in DIR: makes a detached CMS signature with the
code-signing key, and a timestamp token over it with the timestamping key.

  --in FILE               the file to sign
  --out FILE              where to write the signature; - is standard output
  --format FORMAT         der (default), or PEM armour labelled cms or pkcs7
  --digest DIGEST         sha256 (default), sha384 or sha512
  --gen-time TIME         time in the timestamp token (default: now)
  --no-timestamp          make no timestamp token
  --no-signed-attributes  sign the file itself, without signed attributes
  --help                  show this text

Times are UTC, in the form 2026-01-31T12:00:00Z.
)";

struct SignOptions {
    std::string in;
    std::string out;
    PkgsignFormat format = PkgsignFormat::Der;
    forge::Digest digest = forge::Digest::Sha256;
    int64_t genTime = 0;
    bool timestamp = true;
    bool signedAttributes = true;
};

forge::Status ReadOptions(const PkgsignArguments &arguments, SignOptions *options)
{
    options->timestamp = !PkgsignHasOption(arguments, "no-timestamp");
    options->signedAttributes = !PkgsignHasOption(arguments, "no-signed-attributes");
    forge::Status status = PkgsignReadRequiredOption(arguments, "in", &options->in);
    if (status.ok) {
        status = PkgsignReadRequiredOption(arguments, "out", &options->out);
    }
    if (status.ok) {
        status = PkgsignReadFormatOption(arguments, &options->format);
    }
    if (status.ok) {
        status = PkgsignReadDigestOption(arguments, &options->digest);
    }
    if (status.ok) {
        status = PkgsignReadTimeOption(arguments, "gen-time", PkgsignNow(), &options->genTime);
    }
    if (status.ok && !options->timestamp && PkgsignHasOption(arguments, "gen-time")) {
        return forge::Fail("options '--gen-time' and '--no-timestamp' exclude each other");
    }
    return status;
}

forge::Status DescribeMessage(const forge::Pki &pki, const SignOptions &options, forge::MessageRequest *requestOut)
{
    requestOut->contentFile = options.in;
    requestOut->signerCertificate = pki.signer.certificate;
    requestOut->signerKey = pki.signer.key;
    requestOut->certificates = {pki.signer.certificate, pki.issuingCa.certificate};
    requestOut->digest = options.digest;
    requestOut->signedAttributes = options.signedAttributes;
    if (!options.timestamp) {
        return forge::Ok();
    }
    requestOut->timestamp = forge::Timestamp::Request;
    return PkgsignDescribeToken(pki, options.genTime, options.digest, &requestOut->tokenRequest);
}

forge::Status SignFile(const std::string &directory, const SignOptions &options)
{
    forge::Pki pki;
    forge::MessageRequest request;
    forge::Bytes message;
    forge::Status status = forge::ReadPki(directory, &pki);
    if (status.ok) {
        status = DescribeMessage(pki, options, &request);
    }
    if (status.ok) {
        status = forge::SignDetached(request, &message);
    }
    return status.ok ? PkgsignWriteMessage(options.out, options.format, message) : status;
}

PkgsignOutcome Run(const PkgsignArguments &arguments)
{
    SignOptions options;
    const forge::Status status = ReadOptions(arguments, &options);
    return status.ok ? PkgsignFinish(SignFile(arguments.operands[0], options)) : PkgsignRefuse(status);
}

} // namespace

PkgsignCommand PkgsignSignCommand()
{
    return {"sign",
            "sign a file and timestamp the signature",
            HELP,
            {{"in", true},
             {"out", true},
             {"format", true},
             {"digest", true},
             {"gen-time", true},
             {"no-timestamp"},
             {"no-signed-attributes"}},
            1,
            Run};
}
