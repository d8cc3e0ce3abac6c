#include "pkgsign/commands.h"
#include "pkgsign/option_values.h"
#include "tests/forge/status.h"

namespace
{
constexpr int64_t KEY_BITS_LEAST = 2048;
constexpr int64_t KEY_BITS_MOST = 4096; // what the verifier accepts
constexpr int64_t KEY_BITS_USUAL = 3072;

constexpr char HELP[] =
    R"(Usage: pkgsign init DIR [OPTION]...

Makes a development PKI in DIR: a root, an issuing CA under it, and under that a
code-signing and a timestamping certificate. Writes NAME.der, NAME.pem and the
private key NAME.key (mode 0600) for root, issuing-ca, signer and timestamp, and
the CRLs root.crl and issuing-ca.crl, which revoke nothing.

The keys are not encrypted. Do not use such a PKI for products in the field.

  --root-name TEXT     common name of the root (default: Root CA)
  --organization TEXT  organization in all names (default: Sigkit); it and the
                       root name must have 11 to 20 octets together, because the
                       root certificate has a fixed size
  --key-bits N         length of the subordinate RSA keys, 2048 to 4096
                       (default: 3072); the root's is always 4096
  --force              replace a PKI that is in DIR already
  --help               show this text
)";

forge::Status ReadOptions(const PkgsignArguments &arguments, forge::PkiRequest *request)
{
    request->rootName = PkgsignOptionValue(arguments, "root-name", request->rootName);
    request->organization = PkgsignOptionValue(arguments, "organization", request->organization);
    int64_t keyBits = 0;
    const forge::Status status =
        PkgsignReadNumberOption(arguments, "key-bits", KEY_BITS_LEAST, KEY_BITS_MOST, KEY_BITS_USUAL, &keyBits);
    request->keyBits = static_cast<int>(keyBits);
    return status;
}

forge::Status MakePki(const std::string &directory, const forge::PkiRequest &request, bool force)
{
    if (!force && forge::HoldsPki(directory)) { // before the slow generation of keys
        return forge::Fail("'" + directory + "' holds a PKI already; --force replaces it");
    }
    forge::Pki pki;
    const forge::Status status = forge::MakePki(request, &pki);
    return status.ok ? forge::WritePki(directory, pki, force) : status;
}

PkgsignOutcome Run(const PkgsignArguments &arguments)
{
    forge::PkiRequest request;
    const forge::Status status = ReadOptions(arguments, &request);
    if (!status.ok) {
        return PkgsignRefuse(status);
    }
    return PkgsignFinish(MakePki(arguments.operands[0], request, PkgsignHasOption(arguments, "force")));
}

} // namespace

PkgsignCommand PkgsignInitCommand()
{
    return {"init", "make a development PKI",
            HELP,   {{"root-name", true}, {"organization", true}, {"key-bits", true}, {"force"}},
            1,      Run};
}
