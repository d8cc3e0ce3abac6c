// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// A provider that knows nothing, for a run in which one is loaded as "pkcs11" and finds no token.
#include <openssl/core.h>
#include <openssl/core_dispatch.h>

static const OSSL_ALGORITHM *query(void *context, int operation, int *noCache)
{
    (void)context;
    (void)operation;
    *noCache = 0;
    return NULL;
}

OSSL_provider_init_fn OSSL_provider_init;

int OSSL_provider_init(const OSSL_CORE_HANDLE *handle, const OSSL_DISPATCH *in, const OSSL_DISPATCH **out,
                       void **context)
{
    static const OSSL_DISPATCH calls[] = {{OSSL_FUNC_PROVIDER_QUERY_OPERATION, (void (*)(void))query}, {0, NULL}};
    (void)in;
    *out = calls;
    *context = (void *)handle;
    return 1;
}
