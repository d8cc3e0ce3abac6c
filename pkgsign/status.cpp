#include "pkgsign/status.h"

#include <openssl/err.h>

PkgsignStatus PkgsignFailCrypto(const std::string &what)
{
    const char *text = ERR_reason_error_string(ERR_peek_error());
    ERR_clear_error();
    return PkgsignFail(text == nullptr ? what : what + ": " + text);
}
