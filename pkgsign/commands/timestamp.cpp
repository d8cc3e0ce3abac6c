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
    std::string message;
    std::string out;
    std::string timestamp;
    std::string token;
    std::string crlFile;
    std::string genTime;
    std::string digest = "sha256";
    std::string format = "der";
};

Status Timestamp(const Options &options, Session *session)
{
    StampOrder order;
    Bytes given;
    Bytes message;
    Bytes stamped;
    order.timestamp = options.timestamp;
    order.crlFile = options.crlFile;
    order.time = session->place.now;
    Status status = FindDigest(options.digest, &order.digest);
    if (status.ok && options.format != "der" && options.format != "pem") {
        status = Fail("--format is der or pem");
    }
    if (status.ok && !options.genTime.empty()) {
        status = ParseTime(options.genTime, &order.time);
    }
    if (status.ok && !options.token.empty()) {
        status = ReadWhole(options.token, &given, DEVICE_FILE_SIZE_MAX);
        given = RemoveArmour(given);
        order.given = &given;
    }
    if (status.ok) {
        status = ReadWhole(options.message, &message, DEVICE_FILE_SIZE_MAX);
    }
    if (status.ok) {
        status = StampMessage(session->place, order, RemoveArmour(message), &stamped, &session->out);
    }
    if (!status.ok || session->place.dryRun) {
        return status;
    }
    if (options.format == "pem") {
        const std::string text = AddArmour("CMS", stamped);
        stamped.assign(text.begin(), text.end());
    }
    if (options.out == "-") {
        session->out.clear(); // standard output is the message's then
    }
    session->next = "verify_tool -f CHECK_PKG_INTEGRITY -h " + options.out + " -e CONTENT -c CRL-FILE";
    return WriteWhole(options.out, stamped);
}

} // namespace

Command TimestampCommand()
{
    const auto options = std::make_shared<Options>();
    Command command;
    command.name = "timestamp";
    command.summary = "Put a timestamp token into a message, in the place of one that is there";
    command.example = "pkgsign timestamp checksums.cms --out checksums.cms";
    command.options = {
        {"MESSAGE", "FILE", "the message; - for standard input", &options->message, true},
        {"-o,--out", "FILE", "the message with its token", &options->out, true},
        {"--timestamp", "NAME", "the timestamp authority, by its name in the folder; the one that ends last",
         &options->timestamp},
        {"--token", "FILE", "a token made elsewhere, or a timestamp response that holds it", &options->token},
        {"--crl", "FILE", "the CRL file that devices have: the package is judged with it", &options->crlFile},
        {"--gen-time", "TIME", "time of a local token; now", &options->genTime},
        {"--digest", "NAME", "sha256, sha384 or sha512", &options->digest},
        {"--format", "FORMAT", "der or pem", &options->format}};
    command.run = [options](Session *session) { return Timestamp(*options, session); };
    return command;
}

} // namespace pkgsign
