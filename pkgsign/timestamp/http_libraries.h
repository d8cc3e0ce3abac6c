// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// libcurl and libmicrohttpd, loaded when the first authority is asked or served: linked, they and the thirty libraries
// that they need would cost every run of every command 5 MB.
#ifndef PKGSIGN_TIMESTAMP_HTTP_LIBRARIES_H
#define PKGSIGN_TIMESTAMP_HTTP_LIBRARIES_H

#include <curl/curl.h>
#include <microhttpd.h>

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

#define LIBMICROHTTPD_CALLS(ROW)                                                                                       \
    ROW(MHD_add_response_header)                                                                                       \
    ROW(MHD_create_response_from_buffer)                                                                               \
    ROW(MHD_destroy_response)                                                                                          \
    ROW(MHD_get_connection_info)                                                                                       \
    ROW(MHD_get_daemon_info)                                                                                           \
    ROW(MHD_get_timeout)                                                                                               \
    ROW(MHD_lookup_connection_value)                                                                                   \
    ROW(MHD_queue_response)                                                                                            \
    ROW(MHD_quiesce_daemon)                                                                                            \
    ROW(MHD_resume_connection)                                                                                         \
    ROW(MHD_run)                                                                                                       \
    ROW(MHD_start_daemon)                                                                                              \
    ROW(MHD_stop_daemon)                                                                                               \
    ROW(MHD_suspend_connection)

// Their calls, under their own names.
#define ROW(name) decltype(&::name) name = nullptr;
struct Libcurl {
    LIBCURL_CALLS(ROW)
};
struct Libmicrohttpd {
    LIBMICROHTTPD_CALLS(ROW)
};
#undef ROW

extern Libcurl g_libcurl;             // after LoadLibcurl
extern Libmicrohttpd g_libmicrohttpd; // after LoadLibmicrohttpd

// Load a library, and start libcurl, once. They stay loaded.
Status LoadLibcurl();
Status LoadLibmicrohttpd();

} // namespace pkgsign

#endif
