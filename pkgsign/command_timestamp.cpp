// The commands that deal with timestamp tokens apart from signing.
#include "pkgsign/commands.h"
#include "pkgsign/option_values.h"
#include "pkgsign/token_options.h"
#include "tests/forge/status.h"

namespace
{
constexpr char TIMESTAMP_HELP[] =
    R"(Usage: pkgsign timestamp DIR --in CMSFILE --out FILE [OPTION]...

Makes a timestamp token over the signature in CMSFILE (DER or PEM) with the PKI
in DIR, and puts it into the message in place of one that is there already.

  --in CMSFILE     the message
  --out FILE       where to write the message; - is standard output
  --format FORMAT  der (default), or PEM armour labelled cms or pkcs7
  --digest DIGEST  sha256 (default), sha384 or sha512
  --gen-time TIME  time in the token, like 2026-01-31T12:00:00Z (default: now)
  --help           show this text
)";

constexpr char TOKEN_HELP[] =
    R"(Usage: pkgsign token DIR --signature FILE --out FILE [OPTION]...

Makes a timestamp token (DER) over a signature value with the PKI in DIR.

  --signature FILE  the signature value, as 'pkgsign signature' writes it
  --out FILE        where to write the token; - is standard output
  --digest DIGEST   sha256 (default), sha384 or sha512
  --gen-time TIME   time in the token, like 2026-01-31T12:00:00Z (default: now)
  --help            show this text
)";

constexpr char SIGNATURE_HELP[] =
    R"(Usage: pkgsign signature --in CMSFILE --out FILE

Takes the signature value out of a CMS message: what a timestamp token is made
over, for instance by another timestamping authority.

  --in CMSFILE  the message, DER or PEM
  --out FILE    where to write the octets; - is standard output
  --help        show this text
)";

constexpr char EMBED_TOKEN_HELP[] =
    R"(Usage: pkgsign embed-token --in CMSFILE --token FILE --out FILE [OPTION]...

Puts a timestamp token that was made elsewhere into a CMS message, in place of
one that is there already.

  --in CMSFILE     the message, DER or PEM
  --token FILE     the token, or the timestamp response that carries it
  --out FILE       where to write the message; - is standard output
  --format FORMAT  der (default), or PEM armour labelled cms or pkcs7
  --help           show this text
)";

struct TokenOptions {
    std::string in;
    std::string token;
    std::string out;
    PkgsignFormat format = PkgsignFormat::Der;
    forge::Digest digest = forge::Digest::Sha256;
    int64_t genTime = 0;
};

// input: the name of the option that names the input.
forge::Status ReadOptions(const PkgsignArguments &arguments, const char *input, TokenOptions *options)
{
    forge::Status status = PkgsignReadRequiredOption(arguments, input, &options->in);
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
    return status;
}

forge::Status MakeToken(const std::string &directory, const TokenOptions &options, const forge::Bytes &signature,
                        forge::Bytes *tokenOut)
{
    forge::Pki pki;
    forge::TokenRequest request;
    forge::Status status = forge::ReadPki(directory, &pki);
    if (status.ok) {
        status = PkgsignDescribeToken(pki, options.genTime, options.digest, &request);
    }
    return status.ok ? forge::MakeToken(request, signature, tokenOut) : status;
}

forge::Status EmbedAndWrite(const TokenOptions &options, const forge::Bytes &message, const forge::Bytes &token)
{
    forge::Bytes stamped;
    const forge::Status status = forge::EmbedToken(message, token, &stamped);
    return status.ok ? PkgsignWriteMessage(options.out, options.format, stamped) : status;
}

// Reads a message and the signature value in it.
forge::Status ReadMessage(const std::string &path, forge::Bytes *messageOut, forge::Bytes *signatureOut)
{
    forge::Status status = PkgsignReadInput(path, messageOut);
    if (status.ok) {
        status = forge::GetSignatureValue(*messageOut, signatureOut);
        status.reason = status.ok ? "" : "'" + path + "': " + status.reason;
    }
    return status;
}

forge::Status TimestampMessage(const std::string &directory, const TokenOptions &options)
{
    forge::Bytes message;
    forge::Bytes signature;
    forge::Bytes token;
    forge::Status status = ReadMessage(options.in, &message, &signature);
    if (status.ok) {
        status = MakeToken(directory, options, signature, &token);
    }
    return status.ok ? EmbedAndWrite(options, message, token) : status;
}

forge::Status WriteToken(const std::string &directory, const TokenOptions &options)
{
    forge::Bytes signature;
    forge::Bytes token;
    forge::Status status = forge::ReadFile(options.in, &signature);
    if (status.ok) {
        status = MakeToken(directory, options, signature, &token);
    }
    return status.ok ? PkgsignWriteOutput(options.out, token) : status;
}

forge::Status WriteSignatureValue(const TokenOptions &options)
{
    forge::Bytes message;
    forge::Bytes signature;
    const forge::Status status = ReadMessage(options.in, &message, &signature);
    return status.ok ? PkgsignWriteOutput(options.out, signature) : status;
}

forge::Status EmbedFromFile(const TokenOptions &options)
{
    forge::Bytes message;
    forge::Bytes signature;
    forge::Bytes encoding;
    forge::Bytes token;
    forge::Status status = ReadMessage(options.in, &message, &signature);
    if (status.ok) {
        status = PkgsignReadInput(options.token, &encoding);
    }
    if (status.ok) {
        status = forge::GetToken(encoding, &token);
        status.reason = status.ok ? "" : "'" + options.token + "': " + status.reason;
    }
    return status.ok ? EmbedAndWrite(options, message, token) : status;
}

PkgsignOutcome RunTimestamp(const PkgsignArguments &arguments)
{
    TokenOptions options;
    const forge::Status status = ReadOptions(arguments, "in", &options);
    return status.ok ? PkgsignFinish(TimestampMessage(arguments.operands[0], options)) : PkgsignRefuse(status);
}

PkgsignOutcome RunToken(const PkgsignArguments &arguments)
{
    TokenOptions options;
    const forge::Status status = ReadOptions(arguments, "signature", &options);
    return status.ok ? PkgsignFinish(WriteToken(arguments.operands[0], options)) : PkgsignRefuse(status);
}

PkgsignOutcome RunSignature(const PkgsignArguments &arguments)
{
    TokenOptions options;
    const forge::Status status = ReadOptions(arguments, "in", &options);
    return status.ok ? PkgsignFinish(WriteSignatureValue(options)) : PkgsignRefuse(status);
}

PkgsignOutcome RunEmbedToken(const PkgsignArguments &arguments)
{
    TokenOptions options;
    forge::Status status = ReadOptions(arguments, "in", &options);
    if (status.ok) {
        status = PkgsignReadRequiredOption(arguments, "token", &options.token);
    }
    return status.ok ? PkgsignFinish(EmbedFromFile(options)) : PkgsignRefuse(status);
}

} // namespace

PkgsignCommand PkgsignTimestampCommand()
{
    return {"timestamp",
            "timestamp a message that is signed already",
            TIMESTAMP_HELP,
            {{"in", true}, {"out", true}, {"format", true}, {"digest", true}, {"gen-time", true}},
            1,
            RunTimestamp};
}

PkgsignCommand PkgsignTokenCommand()
{
    return {"token",    "make a timestamp token over a signature value",
            TOKEN_HELP, {{"signature", true}, {"out", true}, {"digest", true}, {"gen-time", true}},
            1,          RunToken};
}

PkgsignCommand PkgsignSignatureCommand()
{
    return {"signature", "take the signature value out of a message", SIGNATURE_HELP, {{"in", true}, {"out", true}}, 0,
            RunSignature};
}

PkgsignCommand PkgsignEmbedTokenCommand()
{
    return {"embed-token",
            "put a timestamp token into a message",
            EMBED_TOKEN_HELP,
            {{"in", true}, {"token", true}, {"out", true}, {"format", true}},
            0,
            RunEmbedToken};
}
