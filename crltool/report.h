// The answer, for people and for programs.
#ifndef CRLTOOL_REPORT_H
#define CRLTOOL_REPORT_H

#include <string>

#include "crltool/comparison.h"

// What the tool ends with: 0 the first file is newer or equally new, 1 the second is newer, 2 they cannot be compared.
int ExitStatus(const Comparison &comparison);

// A table for each file, the warning and one line that says which file is newer, or why neither is. Control characters
// of names and paths are escaped.
std::string TextReport(const Comparison &comparison);

// The same as one JSON document (RFC 8259) in ASCII. Octets that are not UTF-8 are replaced.
std::string JsonReport(const Comparison &comparison);

// The JSON document of a comparison that did not come about.
std::string JsonError(const std::string &message);

#endif
