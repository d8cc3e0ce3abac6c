#include "tests/differential/departures.h"

std::string DepartureText(Departure departure)
{
    switch (departure) {
    case Departure::MALFORMED:
        return "MALFORMED: no decoder takes it";
#define ROW(name, text)                                                                                                \
    case Departure::name:                                                                                              \
        return #name ": " text;
        NARROWING_LIST(ROW)
        LENIENCY_LIST(ROW)
        DIVERGENCE_LIST(ROW)
        OPEN_LIST(ROW)
#undef ROW
    }
    return "";
}
