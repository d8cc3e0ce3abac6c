// What certificates and CRLs are made of, as a survey reads it: everything that one of the decoders may accept. Whatever
// neither accepts ends a survey; whatever one of them refuses is noted against it.
#ifndef DIFFERENTIAL_SURVEY_PIECES_H
#define DIFFERENTIAL_SURVEY_PIECES_H

#include <functional>
#include <string>
#include <vector>

#include "tests/differential/element.h"
#include "tests/differential/survey.h"

// A place in the content of a constructed element.
struct Reader {
    const der::Bytes *input = nullptr;
    size_t pos = 0;
    size_t end = 0;
    size_t visible = 0; // how far libcrypto sees: `end`, or more inside an element of the indefinite form
    Survey *survey = nullptr;
};

// A reader of a whole input, or of a value.
inline Reader ReaderOf(const der::Bytes &input, Survey *survey)
{
    return {&input, 0, input.size(), input.size(), survey};
}

// An extension that the library knows: the field it fills, how a survey reads its value, and whether libcrypto can.
struct KnownExtension {
    der::Bytes identifier; // content octets
    std::string field;
    bool (*read)(Reader *value, const std::string &field);
    bool (*isReadByLibcrypto)(const der::Bytes &value);
    bool hasManyFields; // which are compared as one
};

// Notes that neither decoder goes on; returns false.
bool Malformed(Reader *reader);

bool AtEnd(const Reader &reader);

// Malformed unless the content ends here.
bool End(Reader *reader);

// Looks at the next element; false when there is none.
bool Peek(const Reader &reader, Element *element);

// Takes any element.
bool Take(Reader *reader, Element *element);

// Takes a SEQUENCE of members; `inside` reads its content.
bool TakeSequence(Reader *reader, Reader *inside);

// Takes a SEQUENCE OF (16) or a SET OF (17); `inside` reads its content. libcrypto does not mind a primitive one.
bool TakeList(Reader *reader, uint32_t tag, Reader *inside);

// Takes the element inside an EXPLICIT tag, by `take`.
bool TakeWrapped(Reader *reader, const std::function<bool(Reader *)> &take);

// Members; divergences are noted for `field`.
bool TakeInteger(Reader *reader);
bool TakeIdentifier(Reader *reader, Element *element);
bool TakeTime(Reader *reader, const std::string &field);
bool TakeName(Reader *reader, const std::string &field);
bool TakeAlgorithm(Reader *reader, const std::string &field);
bool TakeBits(Reader *reader, const std::string &field, Element *element);
bool TakeExtensions(Reader *reader, const std::vector<KnownExtension> &known);

// Notes against libcrypto what it refuses of the element of a BIT STRING, given under its universal tag.
void JudgeBits(Survey *survey, const der::Bytes &encoding, const std::string &field);

// Whether a d2i function of libcrypto takes a value that stands alone, whatever follows what it reads.
template <typename Object>
bool IsTaken(Object *(*read)(Object **, const unsigned char **, long), void (*release)(Object *),
             const der::Bytes &octets)
{
    const unsigned char *position = octets.data();
    Object *const object = read(nullptr, &position, static_cast<long>(octets.size()));
    release(object);
    return object != nullptr;
}

// Whether it takes an element that is no last one: see LENGTH_AT_END.
template <typename Object>
bool IsTakenInside(Object *(*read)(Object **, const unsigned char **, long), void (*release)(Object *),
                   const der::Bytes &element)
{
    return IsTaken(read, release, der::Concatenate({element, {0x00}}));
}

#endif
