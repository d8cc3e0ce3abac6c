// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/timestamp/client.h"

#include <chrono>
#include <thread>

#include "pkgsign/files/files.h"
#include "pkgsign/timestamp/http_libraries.h"

namespace pkgsign
{
namespace
{

constexpr long STATUS_OK = 200;
constexpr long STATUS_SERVICE_UNAVAILABLE = 503; // RFC 9110, 15.6.4: the one error that says it will pass
constexpr char ANSWER_TYPE[] = "application/timestamp-reply";

// Frees what libcurl has made, by one of its calls.
template <auto Call>
struct CurlDeleter {
    template <typename T>
    void operator()(T *object) const
    {
        (g_libcurl.*Call)(object);
    }
};

using CurlPtr = std::unique_ptr<CURL, CurlDeleter<&Libcurl::curl_easy_cleanup>>;
using HeadersPtr = std::unique_ptr<curl_slist, CurlDeleter<&Libcurl::curl_slist_free_all>>;
using UrlPtr = std::unique_ptr<CURLU, CurlDeleter<&Libcurl::curl_url_cleanup>>;
using TextPtr = std::unique_ptr<char, CurlDeleter<&Libcurl::curl_free>>;

// What comes in, within its bound.
struct Incoming {
    Bytes body;
    size_t size = 0; // with the headers, and those of proxies and of answers before the last
    bool isTooLarge = false;
};

bool Count(size_t size, Incoming *incoming)
{
    incoming->isTooLarge = incoming->isTooLarge || size > ANSWER_SIZE_MAX - incoming->size;
    incoming->size += incoming->isTooLarge ? 0 : size;
    return !incoming->isTooLarge;
}

size_t TakeHeader(char *, size_t, size_t size, void *incoming)
{
    return Count(size, static_cast<Incoming *>(incoming)) ? size : 0;
}

size_t TakeBody(char *data, size_t, size_t size, void *target)
{
    Incoming *const incoming = static_cast<Incoming *>(target);
    if (!Count(size, incoming)) {
        return 0;
    }
    incoming->body.insert(incoming->body.end(), data, data + size);
    return size;
}

Status ReadUrl(const std::string &text, UrlPtr *urlOut)
{
    UrlPtr url(g_libcurl.curl_url());
    const CURLUcode code = url == nullptr
                               ? CURLUE_OUT_OF_MEMORY
                               : g_libcurl.curl_url_set(url.get(), CURLUPART_URL, text.c_str(), CURLU_DISALLOW_USER);
    if (code == CURLUE_USER_NOT_ALLOWED) {
        return Fail("URL: every user of the machine can read a password on a command line; leave it out");
    }
    char *given = nullptr;
    const bool isRead =
        code == CURLUE_OK && g_libcurl.curl_url_get(url.get(), CURLUPART_SCHEME, &given, 0) == CURLUE_OK;
    const TextPtr owned(given);
    const std::string scheme = isRead ? given : "";
    if (scheme != "http" && scheme != "https") {
        return Fail("URL: it is none that begins with http:// or https://");
    }
    *urlOut = std::move(url);
    return {};
}

const char *LayerOf(CURLcode code, bool isNameKnown)
{
    switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
        return "name resolution";
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_INVALIDCERTSTATUS:
        return "TLS";
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_UNSUPPORTED_PROTOCOL: // an answer that is none of HTTP/1 and later
    case CURLE_BAD_CONTENT_ENCODING:
    case CURLE_HTTP2:
        return "HTTP answer";
    case CURLE_OPERATION_TIMEDOUT:
        return isNameKnown ? "connection" : "name resolution";
    default:
        return "connection";
    }
}

// Headers of a request: what libcurl would add for itself is left out.
HeadersPtr MakeHeaders()
{
    HeadersPtr headers;
    for (const char *const line :
         {"Content-Type: application/timestamp-query", "Accept: application/timestamp-reply", "Expect:"}) {
        curl_slist *const longer = g_libcurl.curl_slist_append(headers.get(), line);
        if (longer == nullptr) {
            return nullptr;
        }
        (void)headers.release();
        headers.reset(longer);
    }
    return headers;
}

bool Configure(CURL *curl, const UrlPtr &url, const ClientSettings &settings, const Bytes &request,
               const HeadersPtr &headers)
{
    bool done =
        g_libcurl.curl_easy_setopt(curl, CURLOPT_CURLU, url.get()) == CURLE_OK &&
        g_libcurl.curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE, static_cast<long>(request.size())) == CURLE_OK &&
        g_libcurl.curl_easy_setopt(curl, CURLOPT_POSTFIELDS, request.data()) == CURLE_OK &&
        g_libcurl.curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers.get()) == CURLE_OK &&
        g_libcurl.curl_easy_setopt(curl, CURLOPT_USERAGENT, "pkgsign") == CURLE_OK &&
        g_libcurl.curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 0L) == CURLE_OK &&
        g_libcurl.curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT_MS, settings.connectTimeout) == CURLE_OK &&
        g_libcurl.curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, settings.timeout) == CURLE_OK &&
        g_libcurl.curl_easy_setopt(curl, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2)) == CURLE_OK;
    if (!settings.caFile.empty()) { // without the directory, whose CAs would vouch as well
        done = done && g_libcurl.curl_easy_setopt(curl, CURLOPT_CAINFO, settings.caFile.c_str()) == CURLE_OK &&
               g_libcurl.curl_easy_setopt(curl, CURLOPT_CAPATH, static_cast<char *>(nullptr)) == CURLE_OK;
    }
    return done;
}

bool Collect(CURL *curl, Incoming *incoming, char *reason)
{
    return g_libcurl.curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, TakeHeader) == CURLE_OK &&
           g_libcurl.curl_easy_setopt(curl, CURLOPT_HEADERDATA, incoming) == CURLE_OK &&
           g_libcurl.curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, TakeBody) == CURLE_OK &&
           g_libcurl.curl_easy_setopt(curl, CURLOPT_WRITEDATA, incoming) == CURLE_OK &&
           g_libcurl.curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, reason) == CURLE_OK;
}

Status FailTransfer(CURL *curl, CURLcode code, const char *reason)
{
    double lookup = 0;
    (void)g_libcurl.curl_easy_getinfo(curl, CURLINFO_NAMELOOKUP_TIME, &lookup);
    return Fail(std::string(LayerOf(code, lookup > 0)) + ": " +
                Printable(*reason != '\0' ? reason : g_libcurl.curl_easy_strerror(code)));
}

Status FailStatus(CURL *curl, long status)
{
    char *target = nullptr;
    (void)g_libcurl.curl_easy_getinfo(curl, CURLINFO_REDIRECT_URL, &target);
    return Fail("HTTP status " + std::to_string(status) +
                (target == nullptr ? "" : "; redirects are not followed: if you trust it, name " + Printable(target)));
}

// RFC 9110, 8.3: the type is of any case, and parameters may follow it.
Status CheckType(CURL *curl)
{
    char *given = nullptr;
    (void)g_libcurl.curl_easy_getinfo(curl, CURLINFO_CONTENT_TYPE, &given);
    const std::string whole = given == nullptr ? "" : given;
    const std::string type = whole.substr(0, whole.find_first_of("; \t"));
    return g_libcurl.curl_strequal(type.c_str(), ANSWER_TYPE) == 1
               ? Status()
               : Fail("content type: '" + Printable(whole) + "' in the place of " + ANSWER_TYPE);
}

// One exchange. retryOut: seconds after which the authority wants to be asked again; 0: never.
Status Exchange(const UrlPtr &url, const ClientSettings &settings, const Bytes &request, Bytes *answerOut,
                long *retryOut)
{
    const CurlPtr curl(g_libcurl.curl_easy_init());
    const HeadersPtr headers = MakeHeaders();
    Incoming incoming;
    char reason[CURL_ERROR_SIZE] = {};
    if (curl == nullptr || headers == nullptr || !Configure(curl.get(), url, settings, request, headers) ||
        !Collect(curl.get(), &incoming, reason)) {
        return Fail("connection: libcurl cannot be used");
    }
    const CURLcode code = g_libcurl.curl_easy_perform(curl.get());
    long status = 0;
    curl_off_t retry = 0;
    (void)g_libcurl.curl_easy_getinfo(curl.get(), CURLINFO_RESPONSE_CODE, &status);
    (void)g_libcurl.curl_easy_getinfo(curl.get(), CURLINFO_RETRY_AFTER, &retry);
    if (status >= STATUS_OK && status != STATUS_OK) { // whatever became of its body
        *retryOut = status == STATUS_SERVICE_UNAVAILABLE && retry <= settings.waitMax ? static_cast<long>(retry) : 0;
        return FailStatus(curl.get(), status);
    }
    if (incoming.isTooLarge) {
        return Fail("HTTP answer: it is larger than " + std::to_string(ANSWER_SIZE_MAX) + " octets");
    }
    if (code != CURLE_OK) {
        return FailTransfer(curl.get(), code, reason);
    }
    const Status type = CheckType(curl.get());
    if (type.ok) {
        *answerOut = std::move(incoming.body);
    }
    return type;
}

Status Post(const UrlPtr &url, const ClientSettings &settings, const Bytes &request, Bytes *answerOut)
{
    for (int attempt = 1;; ++attempt) {
        long retry = 0;
        Status status = Exchange(url, settings, request, answerOut, &retry);
        if (status.ok || retry <= 0 || attempt == ATTEMPTS_MAX) {
            return status;
        }
        std::this_thread::sleep_for(std::chrono::seconds(retry));
    }
}

Status Ask(const UrlPtr &url, const ClientSettings &settings, const EVP_MD *digest, const Bytes &signature,
           const AcceptToken &accept)
{
    TimestampRequest request;
    Bytes encoded;
    Bytes answer;
    CheckedToken token;
    Status status = NewTimestampRequest(digest, signature, &request);
    if (status.ok) {
        status = EncodeTimestampRequest(request, &encoded);
    }
    if (status.ok) {
        status = Post(url, settings, encoded, &answer);
    }
    if (status.ok) {
        status = ReadTimestampAnswer(answer, request, &token);
    }
    return status.ok ? accept(token) : status;
}

} // namespace

Status PostTimestampRequest(const std::string &url, const ClientSettings &settings, const Bytes &request,
                            Bytes *answerOut)
{
    UrlPtr read;
    Status status = LoadLibcurl();
    if (status.ok) {
        status = ReadUrl(url, &read);
    }
    return status.ok ? Post(read, settings, request, answerOut) : status;
}

Status CheckUrls(const std::vector<std::string> &urls)
{
    const Status loaded = urls.empty() ? Status() : LoadLibcurl();
    for (size_t i = 0; loaded.ok && i < urls.size(); ++i) {
        UrlPtr read;
        const Status status = ReadUrl(urls[i], &read);
        if (!status.ok) {
            return FailUsage("authority " + std::to_string(i + 1) + ": " + status.reason); // it may hold a password
        }
    }
    return loaded;
}

Status TokenFromAuthorities(const std::vector<std::string> &urls, const ClientSettings &settings, const EVP_MD *digest,
                            const Bytes &signature, const AcceptToken &accept, std::string *urlOut)
{
    const Status checked = CheckUrls(urls);
    if (!checked.ok) {
        return checked;
    }
    std::string reasons;
    for (size_t i = 0; i < urls.size(); ++i) {
        UrlPtr url;
        Status status = ReadUrl(urls[i], &url);
        status = status.ok ? Ask(url, settings, digest, signature, accept) : status;
        if (status.ok) {
            *urlOut = urls[i];
            return {};
        }
        reasons += std::string(i == 0 ? "" : "; ") + Printable(urls[i]) + ": " + status.reason;
    }
    return Fail("no authority has given a token: " + reasons);
}

} // namespace pkgsign
