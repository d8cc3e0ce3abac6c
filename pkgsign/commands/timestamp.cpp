// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/authority/stamping.h"
#include "pkgsign/commands/authorities.h"
#include "pkgsign/commands/command.h"
#include "pkgsign/crypto/message.h"
#include "pkgsign/files/files.h"
#include "pkgsign/files/objects.h"
#include "pkgsign/timestamp/client.h"
#include "pkgsign/timestamp/request.h"

namespace pkgsign
{
namespace
{

struct Options {
    std::string message;
    std::string out;
    std::string timestamp;
    AuthorityOptions authorities;
    std::string request;
    std::string token;
    std::string root;
    std::string crlFile;
    std::string genTime;
    std::string digest = "sha256";
    std::string format = "der";
    bool ifMissing = false;
};

// Where the token comes from.
enum class Source {
    Local,
    Authorities,
    File,    // made elsewhere
    Request, // none yet: only the request is written
};

Status ChooseSource(const Options &options, Source *sourceOut)
{
    const bool isLocal = !options.timestamp.empty() || !options.genTime.empty();
    const bool isOffline = !options.token.empty() || !options.request.empty();
    const bool isOnline = !options.authorities.urls.empty();
    if (isLocal + isOffline + isOnline > 1) {
        return FailUsage(
            "the token comes from one source: --timestamp and --gen-time, --tsa-url, or --request and --token");
    }
    if (!options.authorities.caFile.empty() && !isOnline) {
        return FailUsage("--cacert is for the hosts of --tsa-url");
    }
    const Source source = isOnline                ? Source::Authorities
                          : !isOffline            ? Source::Local
                          : options.token.empty() ? Source::Request
                                                  : Source::File;
    if (!options.root.empty() && (source == Source::Local || options.crlFile.empty())) {
        return FailUsage("--root stands in for the PKI folder: it wants --crl, and --tsa-url, --request or --token");
    }
    if ((source == Source::Request) != options.out.empty()) {
        return FailUsage(source == Source::Request ? "--out belongs to the second step, together with --token"
                                                   : "--out is missing: the file for the message with its token");
    }
    *sourceOut = source;
    return CheckUrls(options.authorities.urls);
}

Status ReadOrder(const Options &options, const Session &session, StampOrder *order)
{
    order->timestamp = options.timestamp;
    order->root = options.root;
    order->crlFile = options.crlFile;
    order->time = session.place.now;
    Status status = Usage(FindDigest(options.digest, &order->digest));
    if (status.ok && options.format != "der" && options.format != "pem") {
        status = FailUsage("--format is der or pem");
    }
    if (status.ok && !options.genTime.empty()) {
        status = Usage(ParseTime(options.genTime, &order->time));
    }
    return status;
}

Status ReadDer(const std::string &path, Bytes *derOut)
{
    Bytes data;
    const Status status = ReadWhole(path, &data, DEVICE_FILE_SIZE_MAX);
    *derOut = RemoveArmour(data);
    return status;
}

// Whether the message has a token with which devices take it. The CRLs, the rules for tokens and the device's library
// are those that a new one would have to get past.
Status IsStamped(const Workplace &place, const StampOrder &asked, const Bytes &message, bool *isStampedOut,
                 CheckedToken *tokenOut)
{
    TimestampRequest request;
    request.isNonceKnown = false;
    StampOrder order = asked;
    Bytes found;
    Status status = FindToken(message, &found);
    if (status.ok) {
        status = SignatureValue(message, &request.signature);
    }
    if (status.ok) {
        order.given = tokenOut;
        *isStampedOut =
            !found.empty() && ReadTokenOrAnswer(found, request, tokenOut).ok && JudgeStamped(place, order, message).ok;
    }
    return status;
}

// A message that stays as it is reaches --out octet for octet.
Status Leave(const Options &options, const Bytes &data, const CheckedToken &token, Session *session)
{
    const bool isThere = options.out.empty() || (options.out == options.message && options.out != "-");
    session->out = "The message has a good token, of " + FormatTime(token.genTime) + "; it stays as it is.\n";
    if (isThere || session->place.dryRun) {
        return {};
    }
    if (options.out == "-") {
        session->out.clear();
    }
    return WriteWhole(options.out, data);
}

// The first of two steps: what somebody else sends to an authority.
Status WriteRequest(const Options &options, const StampOrder &order, const Bytes &message, Session *session)
{
    TimestampRequest request;
    Bytes signature;
    Bytes encoded;
    Status status = TryStamp(session->place, order, message);
    if (status.ok) {
        status = SignatureValue(message, &signature);
    }
    if (status.ok) {
        status = NewTimestampRequest(order.digest, signature, &request);
    }
    if (status.ok) {
        status = EncodeTimestampRequest(request, &encoded);
    }
    if (!status.ok || session->place.dryRun) {
        return status;
    }
    session->next = "pkgsign timestamp " + options.message + " --request " + options.request +
                    " --token ANSWER --out " + options.message;
    return WriteWhole(options.request, encoded);
}

// The second step, or a token that was asked for in another way.
Status StampFromFile(const Options &options, const StampOrder &asked, const Bytes &message, Session *session,
                     Bytes *stampedOut)
{
    TimestampRequest request;
    CheckedToken token;
    StampOrder order = asked;
    Bytes der;
    Status status = SignatureValue(message, &request.signature);
    if (status.ok && !options.request.empty()) {
        status = ReadDer(options.request, &der);
        status = status.ok ? DecodeTimestampRequest(der, options.request, request.signature, &request) : status;
    }
    if (status.ok) {
        status = ReadDer(options.token, &der);
    }
    if (status.ok) {
        status = ReadTokenOrAnswer(der, request, &token);
        status = status.ok ? status : Fail("'" + Printable(options.token) + "': " + status.reason);
    }
    order.given = &token;
    return status.ok ? StampMessage(session->place, order, message, stampedOut, &session->out) : status;
}

Status StampOnline(const Options &options, const StampOrder &order, const Bytes &message, Session *session,
                   Bytes *stampedOut)
{
    Bytes signature;
    Status status = SignatureValue(message, &signature);
    if (status.ok) {
        status = TryStamp(session->place, order, message);
    }
    if (status.ok && session->place.dryRun) {
        session->out = "Timestamp: would be asked of " + Printable(options.authorities.urls[0]) + "\n";
    }
    if (!status.ok || session->place.dryRun) {
        return status;
    }
    StampOrder given = order;
    const AcceptToken accept = [&](const CheckedToken &token) {
        std::string report;
        given.given = &token;
        return StampMessage(session->place, given, message, stampedOut, &report);
    };
    return TokenOfAuthorities(options.authorities, order.digest, signature, accept, &session->out);
}

Status Write(const Options &options, const Bytes &stamped, Session *session)
{
    Bytes data = stamped;
    if (options.format == "pem") {
        const std::string text = AddArmour("CMS", stamped);
        data.assign(text.begin(), text.end());
    }
    if (options.out == "-") {
        session->out.clear(); // standard output is the message's then
    }
    session->next = "verify_tool -f CHECK_PKG_INTEGRITY -h " + options.out + " -e CONTENT -c CRL-FILE";
    return WriteWhole(options.out, data);
}

Status Stamp(const Options &options, Source source, const StampOrder &order, const Bytes &message, Session *session)
{
    Bytes stamped;
    Status status;
    switch (source) {
    case Source::Request:
        return WriteRequest(options, order, message, session);
    case Source::Authorities:
        status = StampOnline(options, order, message, session, &stamped);
        break;
    case Source::File:
        status = StampFromFile(options, order, message, session, &stamped);
        break;
    case Source::Local:
        status = StampMessage(session->place, order, message, &stamped, &session->out);
        break;
    }
    return status.ok && !session->place.dryRun ? Write(options, stamped, session) : status;
}

Status Timestamp(const Options &options, Session *session)
{
    Source source = Source::Local;
    StampOrder order;
    CheckedToken token;
    Bytes data;
    bool isStamped = false;
    Status status = ChooseSource(options, &source);
    if (status.ok) {
        status = ReadOrder(options, *session, &order);
    }
    if (status.ok) {
        status = CheckWritable(source == Source::Request ? options.request : options.out);
    }
    if (status.ok) {
        status = ReadWhole(options.message, &data, DEVICE_FILE_SIZE_MAX);
    }
    const Bytes message = RemoveArmour(data);
    if (status.ok) {
        CmsPtr readable;
        status = DecodeMessage(message, options.message, &readable);
    }
    if (status.ok && options.ifMissing) {
        status = IsStamped(session->place, order, message, &isStamped, &token);
    }
    if (status.ok) {
        status = isStamped ? Leave(options, data, token, session) : Stamp(options, source, order, message, session);
    }
    return status;
}

} // namespace

Command TimestampCommand()
{
    return MakeCommand<Options>(
        "timestamp", "Put a timestamp token into a message, in the place of one that is there",
        "pkgsign timestamp checksums.cms --out checksums.cms", Timestamp, [](Options *options) -> std::vector<Option> {
            std::vector<Option> list = {
                {"MESSAGE", "FILE", "the message; - for standard input", &options->message, true},
                {"-o,--out", "FILE", "the message with its token", &options->out},
                {"--if-missing", "", "leave a message alone that has a token with which devices take it",
                 &options->ifMissing},
                {"--timestamp", "NAME", "the timestamp authority, by its name in the folder; the one that ends last",
                 &options->timestamp},
                {"--request", "FILE", "write a timestamp request and stop; with --token: the request that was written",
                 &options->request},
                {"--token,--response", "FILE", "a timestamp response, or a token alone", &options->token},
                {"--crl", "FILE", "the CRL file that devices have: the package is judged with it", &options->crlFile},
                {"--root", "FILE", "the root that devices have built in, in the place of the PKI folder; with --crl",
                 &options->root},
                {"--gen-time", "TIME", "time of a local token; now", &options->genTime},
                {"--digest", "NAME", "sha256, sha384 or sha512", &options->digest},
                {"--format", "FORMAT", "der or pem", &options->format}};
            const std::vector<Option> online = OptionsForAuthorities(&options->authorities);
            list.insert(list.end(), online.begin(), online.end());
            return list;
        });
}

} // namespace pkgsign
