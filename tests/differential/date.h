// The forms of UTCTime and GeneralizedTime, from the narrow ones of RFC 5280 to the wide ones of X.680.
#ifndef DIFFERENTIAL_DATE_H
#define DIFFERENTIAL_DATE_H

#include "tests/differential/departures.h"
#include "tests/support/der_writer.h"

// Says whether the decoders read the content of a UTCTime (tag 23) or GeneralizedTime (24) differently, and how.
bool IsDateDeparture(unsigned tag, const der::Bytes &content, Departure *departure);

#endif
