#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <memory>

#include "pkgsign/authority/packages.h"
#include "pkgsign/commands/command.h"
#include "pkgsign/crypto/message.h"
#include "pkgsign/files/files.h"
#include "pkgsign/files/objects.h"

namespace pkgsign
{
namespace
{

struct Options {
    std::string content;
    std::string out;
    std::string signer;
    std::string timestamp;
    std::string crlFile;
    std::string genTime;
    std::string digest = "sha256";
    std::string format = "der";
    bool noTimestamp = false;
};

constexpr std::time_t PROGRESS_DELAY = 2; // seconds before a progress line appears
constexpr uint64_t MEBIBYTE = uint64_t{1} << 20;

void ShowProgress(std::time_t start, uint64_t octets)
{
    if (isatty(STDERR_FILENO) == 1 && std::time(nullptr) - start >= PROGRESS_DELAY) {
        (void)std::fprintf(stderr, "\r%llu MiB read", static_cast<unsigned long long>(octets / MEBIBYTE));
    }
}

// Reads the content once, from a file or standard input, and digests it. kept: the content itself, when it is short.
Status DigestContent(const std::string &path, const EVP_MD *method, Bytes *digestOut, Bytes *kept, bool *isKept)
{
    const MdCtxPtr ctx(EVP_MD_CTX_new());
    uint64_t octets = 0;
    const std::time_t start = std::time(nullptr);
    if (ctx == nullptr || EVP_DigestInit_ex(ctx.get(), method, nullptr) != 1) {
        return FailCrypto("cannot digest");
    }
    const Status status = ReadPieces(path, [&](const uint8_t *data, size_t size) {
        octets += size;
        if (octets <= SHORT_CONTENT_MAX) {
            kept->insert(kept->end(), data, data + size);
        } else {
            *kept = Bytes(); // long content is not kept in memory
        }
        if (octets % MEBIBYTE < size) {
            ShowProgress(start, octets);
        }
        return EVP_DigestUpdate(ctx.get(), data, size) == 1 ? Status() : FailCrypto("cannot digest");
    });
    Bytes digest(EVP_MAX_MD_SIZE);
    unsigned int size = 0;
    if (status.ok && octets == 0) {
        return Fail("'" + Printable(path) + "' is empty; a signature over nothing would say nothing");
    }
    if (status.ok && EVP_DigestFinal_ex(ctx.get(), digest.data(), &size) != 1) {
        return FailCrypto("cannot digest");
    }
    digest.resize(size);
    *digestOut = std::move(digest);
    *isKept = octets <= SHORT_CONTENT_MAX;
    return status;
}

Status ReadOrder(const Options &options, const Session &session, PackageOrder *order)
{
    order->signer = options.signer;
    order->timestamp = options.timestamp;
    order->crlFile = options.crlFile;
    order->isStamped = !options.noTimestamp;
    order->time = session.place.now;
    Status status = FindDigest(options.digest, &order->digest);
    if (status.ok && !options.genTime.empty()) {
        status = ParseTime(options.genTime, &order->time);
    }
    if (status.ok && options.format != "der" && options.format != "pem") {
        status = Fail("--format is der or pem");
    }
    return status;
}

Status Sign(const Options &options, Session *session)
{
    PackageOrder order;
    Package package;
    Bytes message;
    Status status = ReadOrder(options, *session, &order);
    if (status.ok) {
        status = OpenPackage(session->place, order, &package); // keys and certificates before a long content
    }
    if (status.ok) {
        status =
            DigestContent(options.content, order.digest, &package.contentDigest, &package.content, &package.isWhole);
    }
    if (status.ok) {
        status = TryPackage(session->place, order, &package);
    }
    if (!status.ok) {
        return status;
    }
    const std::string report = DescribePackage(order, package);
    if (session->place.dryRun) {
        session->out = report;
        return {};
    }
    status = SignPackage(order, &package, &message);
    if (status.ok && options.format == "pem") {
        const std::string text = AddArmour("CMS", message);
        message.assign(text.begin(), text.end());
    }
    if (status.ok) {
        status = WriteWhole(options.out, message);
    }
    if (status.ok && options.out != "-") { // standard output is the message's then
        session->out = report;
    }
    session->next = options.noTimestamp ? "pkgsign timestamp " + options.out + " --out " + options.out
                                        : "verify_tool -f CHECK_PKG_INTEGRITY -h " + options.out + " -e " +
                                              options.content + " -c CRL-FILE";
    return status;
}

} // namespace

Command SignCommand()
{
    const auto options = std::make_shared<Options>();
    Command command;
    command.name = "sign";
    command.summary = "Sign a file: a detached CMS message with a timestamp token";
    command.example = "pkgsign sign checksums --pki pki --out checksums.cms";
    command.options = {
        {"FILE", "FILE", "the content, of any size; - for standard input", &options->content, true},
        {"-o,--out", "FILE", "the message", &options->out, true},
        {"--signer", "NAME", "the signer, by its name in the folder; the one that ends last", &options->signer},
        {"--timestamp", "NAME", "the timestamp authority, likewise", &options->timestamp},
        {"--no-timestamp", "", "leave the token to pkgsign timestamp; devices refuse the package until then",
         &options->noTimestamp},
        {"--crl", "FILE", "the CRL file that devices have: the package is judged with it", &options->crlFile},
        {"--gen-time", "TIME", "time of the token, for a local one; now", &options->genTime},
        {"--digest", "NAME", "sha256, sha384 or sha512", &options->digest},
        {"--format", "FORMAT", "der or pem", &options->format}};
    command.run = [options](Session *session) { return Sign(*options, session); };
    return command;
}

} // namespace pkgsign
