// Says of an input, from its octets alone, which departures it shows. Each is looked for in the one place where it
// counts, so that it excuses nothing else.
#ifndef DIFFERENTIAL_SURVEY_H
#define DIFFERENTIAL_SURVEY_H

#include <map>
#include <set>
#include <string>

#include "tests/differential/departures.h"
#include "tests/support/der_writer.h"

struct Survey {
    std::set<Departure> library;                // why the library refuses the input
    std::set<Departure> libcrypto;              // why libcrypto does
    std::map<std::string, Departure> differing; // fields that both read, differently; some are in nobody's Facts
    std::map<std::string, Departure> mayDiffer; // fields that they may read differently
};

// Whether the reasons that libcrypto has leave it open what it does: see OPEN_LIST.
inline bool IsOpen(const std::set<Departure> &reasons)
{
    return reasons == std::set<Departure>{Departure::LENGTH_AT_END};
}

// Certificate and CertificateList (RFC 5280, 4.1 and 5.1).
Survey SurveyCertificate(const der::Bytes &input);
Survey SurveyCrl(const der::Bytes &input);

#endif
