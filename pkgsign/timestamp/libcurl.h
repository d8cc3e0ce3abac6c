// libcurl, loaded when the first authority is asked: linked, it and the thirty libraries that it needs would cost every
// run of every command 5 MB.
#ifndef PKGSIGN_TIMESTAMP_LIBCURL_H
#define PKGSIGN_TIMESTAMP_LIBCURL_H

#include <curl/curl.h>

#include "pkgsign/status.h"

namespace pkgsign
{

#define LIBCURL_CALLS(ROW)                                                                                             \
    ROW(curl_easy_cleanup)                                                                                             \
    ROW(curl_easy_getinfo)                                                                                             \
    ROW(curl_easy_init)                                                                                                \
    ROW(curl_easy_perform)                                                                                             \
    ROW(curl_easy_setopt)                                                                                              \
    ROW(curl_easy_strerror)                                                                                            \
    ROW(curl_free)                                                                                                     \
    ROW(curl_global_init)                                                                                              \
    ROW(curl_slist_append)                                                                                             \
    ROW(curl_slist_free_all)                                                                                           \
    ROW(curl_strequal)                                                                                                 \
    ROW(curl_url)                                                                                                      \
    ROW(curl_url_cleanup)                                                                                              \
    ROW(curl_url_get)                                                                                                  \
    ROW(curl_url_set)

// Its calls, under their own names.
struct Libcurl {
#define ROW(name) decltype(&::name) name = nullptr;
    LIBCURL_CALLS(ROW)
#undef ROW
};

extern Libcurl g_libcurl; // after LoadLibcurl

// Loads and starts the library, once. It stays loaded.
Status LoadLibcurl();

} // namespace pkgsign

#endif
