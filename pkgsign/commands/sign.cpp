// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "pkgsign/authority/signing.h"
#include "pkgsign/commands/authorities.h"
#include "pkgsign/commands/command.h"
#include "pkgsign/commands/progress.h"
#include "pkgsign/crypto/message.h"
#include "pkgsign/crypto/signing_program.h"
#include "pkgsign/files/files.h"
#include "pkgsign/files/objects.h"
#include "pkgsign/timestamp/client.h"
#include "pkgsign/timestamp/request.h"

namespace pkgsign
{
namespace
{

struct Options {
    std::string content;
    std::string out;
    std::string signer;
    PartyFiles files;
    std::string request;
    std::string attach;
    std::string program;
    std::string programTime = "60s";
    std::string timestamp;
    AuthorityOptions authorities;
    std::string token;
    bool noTimestamp = false;
    std::string crlFile;
    std::string genTime;
    std::string digest = "sha256";
    bool armour = false;
};

// One run of the command.
struct Work {
    PackageOrder order;
    Package package;
    MessageFields request; // of --attach: what was asked for
    SignOctets sign;       // null: the octets to be signed are written instead
    std::string stamped;   // by which of the authorities, and when
};

bool IsRequestWritten(const Options &options)
{
    return !options.request.empty() && options.attach.empty();
}

bool IsSameFile(const std::string &a, const std::string &b)
{
    std::error_code error;
    return std::filesystem::equivalent(a, b, error);
}

// Options that do not go together.
Status CheckOptions(const Options &options)
{
    const bool hasFiles = !options.files.certificate.empty();
    const bool hasProgram = !options.program.empty();
    const bool isSignedElsewhere = hasProgram || !options.request.empty();
    const bool isOnline = !options.authorities.urls.empty();
    const int tokens = static_cast<int>(!options.timestamp.empty()) + static_cast<int>(!options.token.empty()) +
                       static_cast<int>(isOnline) + static_cast<int>(options.noTimestamp);
    const struct {
        bool isWrong;
        const char *reason;
    } rules[] = {
        {options.out.empty() && !IsRequestWritten(options), "--out is missing: the file for the message"},
        {!options.out.empty() && IsRequestWritten(options), "--out belongs to the second step, together with --attach"},
        {options.request == "-", "--request wants a file: its digest is written beside it"},
        {!options.attach.empty() && options.request.empty(), "--attach wants the --request that was signed"},
        {hasProgram && !options.request.empty(), "--sign-command does what --request and --attach do; choose one"},
        {isSignedElsewhere && !options.files.key.empty(), "--key signs here; choose it or a key elsewhere"},
        {!hasFiles && !(options.files.key.empty() && options.files.root.empty() && options.files.chain.empty()),
         "--key, --root and --chain belong to a signer whose --certificate is given"},
        {hasFiles && !options.signer.empty(), "--signer is of the folder, --certificate of a file; choose one"},
        {hasFiles && options.files.root.empty(), "--certificate wants the --root that devices have built in"},
        {hasFiles && options.files.key.empty() && !isSignedElsewhere,
         "--certificate wants its --key, or --sign-command or --request for a key elsewhere"},
        {tokens > 1, "--timestamp, --tsa-url, --token and --no-timestamp exclude each other"},
        {!isOnline && !options.authorities.caFile.empty(), "--cacert is for the hosts of --tsa-url"},
        {hasFiles && tokens == 0,
         "a package needs a timestamp: --timestamp NAME of the folder, --tsa-url URL, --token FILE, or --no-timestamp, "
         "which leaves it to pkgsign timestamp"},
        {IsRequestWritten(options) && !options.token.empty(),
         "a token is made over the signature: give it to --attach"},
    };
    for (const auto &rule : rules) {
        if (rule.isWrong) {
            return FailUsage(rule.reason);
        }
    }
    const Status urls = CheckUrls(options.authorities.urls);
    if (!urls.ok) {
        return urls;
    }
    std::error_code ignored;
    if (std::filesystem::is_directory(options.content, ignored)) {
        return Fail("'" + Printable(options.content) +
                    "' is a directory; sign its checksum file, which pkgsign checksums makes");
    }
    for (const std::string &path : {options.out, options.request}) {
        if (IsSameFile(path, options.content)) {
            return Fail("'" + Printable(path) + "' is the content, which would be lost");
        }
        const Status writable = CheckWritable(path);
        if (!writable.ok) {
            return writable;
        }
    }
    return {};
}

// A token of authorities elsewhere.
void ChooseAuthorities(const Options &options, Work *work)
{
    work->order.tokenSource = TokenSource::Elsewhere;
    work->order.tokenOrigin = "to be asked of " + Printable(options.authorities.urls[0]);
    work->order.getToken = [&options, work](const Bytes &signature, const AcceptToken &accept) {
        return TokenOfAuthorities(options.authorities, work->order.digest, signature, accept, &work->stamped);
    };
}

// Where the token comes from.
Status ChooseToken(const Options &options, Work *work)
{
    PackageOrder *const order = &work->order;
    order->timestamp = options.timestamp;
    order->tokenSource = options.noTimestamp ? TokenSource::None : TokenSource::Folder;
    order->hasTimestampKey = !IsRequestWritten(options);
    if (!options.authorities.urls.empty()) {
        ChooseAuthorities(options, work);
    }
    if (options.token.empty()) {
        return {};
    }
    Bytes given;
    Status status = ReadWhole(options.token, &given, DEVICE_FILE_SIZE_MAX);
    given = RemoveArmour(given);
    if (status.ok) {
        status = TokenTime(given, &order->time);
    }
    order->tokenSource = TokenSource::Elsewhere;
    order->tokenOrigin = "the token in '" + Printable(options.token) + "', " + FormatTime(order->time);
    order->getToken = [given](const Bytes &signature, const AcceptToken &accept) {
        TimestampRequest request;
        request.signature = signature;
        request.isNonceKnown = false; // whoever has asked for it has compared it
        CheckedToken token;
        const Status read = ReadTokenOrAnswer(given, request, &token);
        return read.ok ? accept(token) : read;
    };
    return status;
}

// How the signature comes about.
Status ChooseKey(const Options &options, Work *work)
{
    PackageOrder *const order = &work->order;
    order->hasSignerKey = options.request.empty() && options.program.empty();
    if (!options.attach.empty()) {
        Bytes attributes;
        Bytes raw;
        Status status = ReadWhole(options.request, &attributes);
        if (status.ok) {
            status = DecodeAttributes(attributes, options.request, &work->request);
        }
        if (status.ok) {
            status = ReadWhole(options.attach, &raw);
        }
        order->digest = work->request.digest;
        order->signingTime = work->request.signingTime;
        order->signatureOrigin = "'" + Printable(options.attach) + "'";
        work->sign = [raw](const Bytes &, Bytes *signatureOut) {
            *signatureOut = raw;
            return Status();
        };
        return status;
    }
    if (!options.program.empty()) {
        SigningProgram program;
        program.digest = order->digest;
        Status status = Usage(SplitCommand(options.program, &program.words));
        if (status.ok) {
            status = Usage(ParseSpan(options.programTime, &program.secondsMax));
        }
        order->signatureOrigin = "the output of --sign-command";
        work->sign = [program](const Bytes &octets, Bytes *signatureOut) {
            return RunSigningProgram(program, octets, signatureOut);
        };
        return status;
    }
    return {};
}

Status ReadOrder(const Options &options, const Session &session, Work *work)
{
    PackageOrder *const order = &work->order;
    order->signer = options.signer;
    order->files = options.files;
    order->files.crls = options.crlFile;
    order->crlFile = options.crlFile;
    order->time = session.place.now;
    Status status = CheckOptions(options);
    if (status.ok) {
        status = Usage(FindDigest(options.digest, &order->digest));
    }
    if (status.ok && !options.genTime.empty()) {
        status = Usage(ParseTime(options.genTime, &order->time));
    }
    order->signingTime = order->time;
    if (status.ok) {
        status = ChooseToken(options, work);
    }
    return status.ok ? ChooseKey(options, work) : status;
}

// Reads the content once, from a file or standard input, and digests it.
Status DigestContent(const std::string &path, const EVP_MD *method, Package *package)
{
    const MdCtxPtr ctx(EVP_MD_CTX_new());
    Progress progress = StartProgress(path);
    uint64_t octets = 0;
    if (ctx == nullptr || EVP_DigestInit_ex(ctx.get(), method, nullptr) != 1) {
        return FailCrypto("cannot digest");
    }
    const Status status = ReadPieces(path, [&](const uint8_t *data, size_t size) {
        octets += size;
        if (octets <= SHORT_CONTENT_MAX) {
            package->content.insert(package->content.end(), data, data + size);
        } else {
            package->content = Bytes(); // long content is not kept in memory
        }
        ShowProgress(octets, &progress);
        return EVP_DigestUpdate(ctx.get(), data, size) == 1 ? Status() : FailCrypto("cannot digest");
    });
    EndProgress(progress);
    if (status.ok && octets == 0) {
        return Fail("'" + Printable(path) + "' is empty; a signature over nothing would say nothing");
    }
    package->contentDigest.resize(static_cast<size_t>(EVP_MD_size(method)));
    package->isWhole = octets <= SHORT_CONTENT_MAX;
    if (status.ok && EVP_DigestFinal_ex(ctx.get(), package->contentDigest.data(), nullptr) != 1) {
        return FailCrypto("cannot digest");
    }
    return status;
}

// Everything but the signature: keys and certificates before a long content, and the device's library at the end.
Status Prepare(const Options &options, const Session &session, Work *work)
{
    Status status = ReadOrder(options, session, work);
    if (status.ok) {
        status = OpenPackage(session.place, work->order, &work->package);
    }
    if (status.ok && work->package.signer.key != nullptr) {
        work->sign = SignWithKey(work->package.signer.key, work->order.digest);
    }
    if (status.ok) {
        status = DigestContent(options.content, work->order.digest, &work->package);
    }
    if (status.ok && !options.attach.empty() && work->package.contentDigest != work->request.contentDigest) {
        return Fail("'" + Printable(options.request) + "' asks for a signature over other content than '" +
                    Printable(options.content) + "'");
    }
    return status.ok ? TryPackage(work->order, &work->package) : status;
}

// The octets to be signed and, beside them, their raw digest.
Status WriteRequest(const Options &options, const Work &work, Session *session)
{
    const std::string digestName = DigestName(work.order.digest);
    const std::string digestPath = options.request + "." + digestName;
    Bytes attributes;
    Bytes before;
    Status status = EncodeRequest(work.order, work.package, &attributes);
    if (status.ok && Exists(options.request)) {
        status = ReadWhole(options.request, &before);
        if (status.ok && before != attributes) {
            return Fail(
                "'" + Printable(options.request) +
                "' is there already, and its signature may be under way; finish it with --attach, or remove it");
        }
    }
    const Bytes digest = Digest(work.order.digest, attributes);
    if (status.ok && !session->place.dryRun) {
        status = WriteWhole(digestPath, digest);
    }
    if (status.ok && !session->place.dryRun) {
        status = WriteWhole(options.request, attributes);
    }
    session->out += "To be signed: " + Printable(options.request) + ", or its " + digestName + " digest " +
                    HexText(digest) + ", raw in " + Printable(digestPath) + "\n";
    session->next = "pkgsign sign " + options.content + " --request " + options.request + " --attach RAW --out OUT";
    return status;
}

Status WriteMessage(const Options &options, const Work &work, Session *session)
{
    Bytes message;
    Status status = SignPackage(work.order, work.package, work.sign, &message);
    if (status.ok && options.armour) {
        const std::string text = AddArmour("CMS", message); // of RFC 7468, 9; devices know no others but PKCS7
        message.assign(text.begin(), text.end());
    }
    if (status.ok) {
        status = WriteWhole(options.out, message);
    }
    session->out += work.stamped;
    if (options.out == "-") {
        session->out.clear(); // standard output is the message's then
    }
    session->next = options.noTimestamp ? "pkgsign timestamp " + options.out + " --out " + options.out
                                        : "verify_tool -f CHECK_PKG_INTEGRITY -h " + options.out + " -e " +
                                              options.content + " -c CRL-FILE";
    return status;
}

Status Sign(const Options &options, Session *session)
{
    Work work;
    Status status = Prepare(options, *session, &work);
    if (status.ok) {
        status = DescribePackage(work.order, work.package, &session->out);
    }
    if (!status.ok) {
        return status;
    }
    if (IsRequestWritten(options)) {
        return WriteRequest(options, work, session);
    }
    return session->place.dryRun ? Status() : WriteMessage(options, work, session);
}

} // namespace

Command SignCommand()
{
    return MakeCommand<Options>(
        "sign", "Sign a file: a detached CMS message with a timestamp token",
        "pkgsign sign checksums --pki pki --out checksums.cms", Sign, [](Options *options) -> std::vector<Option> {
            std::vector<Option> list = {
                {"FILE", "FILE", "the content, of any size; - for standard input", &options->content, true},
                {"-o,--out", "FILE", "the message", &options->out},
                {"--signer", "NAME", "the signer, by its name in the folder; the one that ends last", &options->signer},
                {"--certificate", "FILE", "the signer's certificate, in the place of the folder's",
                 &options->files.certificate},
                {"--key", "URI", "its key: a path, file: or pkcs11:", &options->files.key},
                {"--root", "FILE", "the root that devices have built in, for --certificate", &options->files.root},
                {"--chain", "FILE", "CA certificates between both; else the CRL file has them", &options->files.chain},
                {"--sign-command", "CMD",
                 "a program that signs: raw digest on its standard input, raw signature on its output",
                 &options->program},
                {"--sign-timeout", "SPAN", "how long it may take; 60s", &options->programTime},
                {"--request", "FILE", "write what is to be signed elsewhere; with --attach, what was written",
                 &options->request},
                {"--attach", "RAW", "the raw RSA signature (PKCS #1 v1.5) over it: finish the message",
                 &options->attach},
                {"--timestamp", "NAME", "the timestamp authority, by its name in the folder; the one that ends last",
                 &options->timestamp},
                {"--token", "FILE", "a token made elsewhere over the signature, or a timestamp response that holds it",
                 &options->token},
                {"--no-timestamp", "", "leave the token to pkgsign timestamp; devices refuse the package until then",
                 &options->noTimestamp},
                {"--crl", "FILE", "the CRL file that devices have: the package is judged with it", &options->crlFile},
                {"--gen-time", "TIME", "time of the signature and of a local token; now", &options->genTime},
                {"--digest", "NAME", "sha256, sha384 or sha512", &options->digest},
                {"--armour", "", "PEM, as devices take it, in the place of DER", &options->armour}};
            const std::vector<Option> online = OptionsForAuthorities(&options->authorities);
            list.insert(list.end(), online.begin(), online.end());
            return list;
        });
}

} // namespace pkgsign
