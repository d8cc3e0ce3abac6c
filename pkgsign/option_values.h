// Values that several commands read from their options, and the way they write what they have made.
#ifndef PKGSIGN_OPTION_VALUES_H
#define PKGSIGN_OPTION_VALUES_H

#include "pkgsign/arguments.h"

#include <string>

enum class PkgsignFormat { Der, Cms, Pkcs7 };

// --name TIME. Absent: `fallback`.
forge::Status PkgsignReadTimeOption(const PkgsignArguments &arguments, const std::string &name, int64_t fallback,
                                    int64_t *secondsOut);

// --digest sha256|sha384|sha512. Absent: SHA-256.
forge::Status PkgsignReadDigestOption(const PkgsignArguments &arguments, forge::Digest *digestOut);

// --format der|cms|pkcs7. Absent: DER.
forge::Status PkgsignReadFormatOption(const PkgsignArguments &arguments, PkgsignFormat *formatOut);

// --name NUMBER, in decimal digits, from `least` to `most`. Absent: `fallback`.
forge::Status PkgsignReadNumberOption(const PkgsignArguments &arguments, const std::string &name, int64_t least,
                                      int64_t most, int64_t fallback, int64_t *numberOut);

// --name TEXT, which must be there and not be empty.
forge::Status PkgsignReadRequiredOption(const PkgsignArguments &arguments, const std::string &name,
                                        std::string *valueOut);

// Seconds since 1970 of the present instant.
int64_t PkgsignNow();

// Writes to a file, or to standard output when the path is "-".
forge::Status PkgsignWriteOutput(const std::string &path, const forge::Bytes &data);

// Writes a CMS message in the format asked for.
forge::Status PkgsignWriteMessage(const std::string &path, PkgsignFormat format, const forge::Bytes &message);

// Reads a file that holds DER, or PEM of whatever label, and yields the DER.
forge::Status PkgsignReadInput(const std::string &path, forge::Bytes *derOut);

#endif
