#include "pkgsign/timestamp/libcurl.h"

#include <dlfcn.h>

namespace pkgsign
{
namespace
{

constexpr char LIBRARY[] = "libcurl.so.4"; // the version of the interface, of all libcurl since 7.16

Status Load(Libcurl *calls)
{
    void *const library = dlopen(LIBRARY, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        return Fail(std::string("timestamp authorities cannot be asked without libcurl: ") + dlerror());
    }
    bool isWhole = true;
#define ROW(name)                                                                                                      \
    calls->name = reinterpret_cast<decltype(&::name)>(dlsym(library, #name));                                          \
    isWhole = isWhole && calls->name != nullptr;
    LIBCURL_CALLS(ROW)
#undef ROW
    return isWhole && calls->curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK
               ? Status()
               : Fail(std::string("timestamp authorities cannot be asked: ") + LIBRARY +
                      " is too old or does not start");
}

} // namespace

Libcurl g_libcurl;

Status LoadLibcurl()
{
    static const Status status = Load(&g_libcurl);
    return status;
}

} // namespace pkgsign
