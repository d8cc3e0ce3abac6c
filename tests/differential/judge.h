// Lets both decoders read an input, and says where they disagree without a known reason.
#ifndef DIFFERENTIAL_JUDGE_H
#define DIFFERENTIAL_JUDGE_H

#include <string>

#include "tests/differential/facts.h"
#include "tests/differential/survey.h"

// What is decoded: its name, the two decoders, and the survey that tells what to expect of them.
struct Kind {
    const char *name;
    Facts (*library)(const der::Bytes &input);
    Facts (*libcrypto)(const der::Bytes &input);
    Survey (*survey)(const der::Bytes &input);
};

extern const Kind CERTIFICATE;
extern const Kind CRL;

// Empty when both decoders do as the survey says, which for an input without departures is: both refuse it, or both
// accept it and read every field alike. Otherwise what they did, and the input in hexadecimal.
std::string Disagreement(const Kind &kind, const der::Bytes &input);

// How many inputs went which way, since the process began.
struct Tally {
    unsigned inputs = 0;
    unsigned bothAccepted = 0;
    unsigned libraryOnly = 0;
    unsigned libcryptoOnly = 0;
};
extern Tally g_tally;

#endif
