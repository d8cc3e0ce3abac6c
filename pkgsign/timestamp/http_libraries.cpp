// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/timestamp/http_libraries.h"

#include <dlfcn.h>

#include <string>

namespace pkgsign
{
namespace
{

// The versions of the interfaces: of all libcurl since 7.16, of all libmicrohttpd since 0.9.31.
constexpr char LIBCURL[] = "libcurl.so.4";
constexpr char LIBMICROHTTPD[] = "libmicrohttpd.so.12";

// without: what cannot be done when the library is missing.
Status Open(const char *name, const char *without, void **libraryOut)
{
    *libraryOut = dlopen(name, RTLD_NOW | RTLD_LOCAL);
    return *libraryOut != nullptr ? Status() : Fail(std::string(without) + ": " + dlerror());
}

template <typename Call>
bool Find(void *library, const char *name, Call *callOut)
{
    *callOut = reinterpret_cast<Call>(dlsym(library, name));
    return *callOut != nullptr;
}

#define ROW(name) isWhole = Find(library, #name, &calls->name) && isWhole;

Status Load(Libcurl *calls)
{
    void *library = nullptr;
    const Status status = Open(LIBCURL, "timestamp authorities cannot be asked without libcurl", &library);
    if (!status.ok) {
        return status;
    }
    bool isWhole = true;
    LIBCURL_CALLS(ROW)
    return isWhole && calls->curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK
               ? Status()
               : Fail(std::string("timestamp authorities cannot be asked: ") + LIBCURL +
                      " is too old or does not start");
}

Status Load(Libmicrohttpd *calls)
{
    void *library = nullptr;
    const Status status = Open(LIBMICROHTTPD, "nothing can be served without libmicrohttpd", &library);
    if (!status.ok) {
        return status;
    }
    bool isWhole = true;
    LIBMICROHTTPD_CALLS(ROW)
    return isWhole ? Status() : Fail(std::string("nothing can be served: ") + LIBMICROHTTPD + " is too old");
}

#undef ROW

} // namespace

Libcurl g_libcurl;
Libmicrohttpd g_libmicrohttpd;

Status LoadLibcurl()
{
    static const Status status = Load(&g_libcurl);
    return status;
}

Status LoadLibmicrohttpd()
{
    static const Status status = Load(&g_libmicrohttpd);
    return status;
}

} // namespace pkgsign
