#include "tests/differential/survey_pieces.h"

#include <openssl/x509.h>

#include "tests/differential/date.h"

using der::Bytes;

namespace
{

constexpr size_t MAX_LENGTH_OCTETS = 4;
constexpr size_t MAX_NAME_PARTS = 10;

// Notes what the library refuses of every header.
void JudgeHeader(Survey *survey, const Element &element)
{
    if (element.highTag) {
        survey->library.insert(Departure::HIGH_TAG);
    }
    if (element.indefinite) {
        survey->library.insert(Departure::INDEFINITE_LENGTH);
    }
    if (element.lengthOctets > MAX_LENGTH_OCTETS) {
        survey->library.insert(Departure::LONG_LENGTH);
    }
}

Reader InsideOf(const Reader &reader, const Element &element)
{
    return {reader.input, element.content, element.end, element.indefinite ? reader.visible : element.end,
            reader.survey};
}

// Whether the element is a string of segments: libcrypto joins them, the library takes them as they stand.
bool IsSegmented(const Element &element)
{
    return element.cls == 0 && element.constructed && element.tag != 16 && element.tag != 17 && LengthOf(element) != 0;
}

bool IsBoolean(const Element &element)
{
    return IsUniversal(element, 1, false) && LengthOf(element) == 1;
}

// ---- Names ---------------------------------------------------------------------------------------------------------

// Whether libcrypto takes an element as a name's value: a string type, and text of that type.
bool IsNameValue(const Bytes &encoding, const Element &element)
{
    constexpr unsigned long TEXT = B_ASN1_UTF8STRING | B_ASN1_BMPSTRING | B_ASN1_UNIVERSALSTRING |
                                   B_ASN1_PRINTABLESTRING | B_ASN1_T61STRING | B_ASN1_IA5STRING;
    const Bytes followed = der::Concatenate({encoding, {0x00}}); // see LENGTH_AT_END
    const unsigned char *octets = followed.data();
    ASN1_STRING *const string = d2i_ASN1_PRINTABLE(nullptr, &octets, static_cast<long>(followed.size()));
    bool isValue = string != nullptr;
    if (isValue && (ASN1_tag2bit(static_cast<int>(element.tag)) & TEXT) != 0) {
        unsigned char *text = nullptr;
        isValue = ASN1_STRING_to_UTF8(&text, string) >= 0;
        OPENSSL_free(text);
    }
    ASN1_STRING_free(string);
    return isValue;
}

bool TakeAttribute(Reader *reader, const std::string &field)
{
    Reader attribute;
    Element type;
    Element value;
    if (!TakeSequence(reader, &attribute) || !TakeIdentifier(&attribute, &type) || !Take(&attribute, &value)) {
        return false;
    }
    if (!IsNameValue(WholeOf(*reader->input, value), value)) {
        reader->survey->libcrypto.insert(Departure::NAME_VALUE_FORM);
    }
    if (IsSegmented(value)) {
        reader->survey->differing[field] = Departure::SEGMENTED_STRING;
    }
    if (IsUniversal(value, 3, false)) {
        reader->survey->mayDiffer[field] = Departure::PADDING_BITS;
    }
    return End(&attribute);
}

// ---- Algorithms ----------------------------------------------------------------------------------------------------

void JudgeParameters(Reader *reader, const Element &parameters, const std::string &field)
{
    const Bytes encoding = WholeOf(*reader->input, parameters);
    const bool isEndOfContents = encoding == Bytes{0x00, 0x00};
    if (isEndOfContents || !IsTakenInside(d2i_ASN1_TYPE, ASN1_TYPE_free, encoding)) {
        reader->survey->libcrypto.insert(Departure::PARAMETERS_FORM);
    }
    if (IsSegmented(parameters)) {
        reader->survey->differing[field] = Departure::SEGMENTED_STRING;
    }
    if (IsBoolean(parameters) && encoding.back() != 0 && encoding.back() != 0xFF) {
        reader->survey->differing[field] = Departure::TRUE_NOT_FF;
    }
    if (IsUniversal(parameters, 3, false)) {
        reader->survey->mayDiffer[field] = Departure::PADDING_BITS;
    }
}

// ---- Extensions ----------------------------------------------------------------------------------------------------

// What the library takes for the content of an element of any type.
Bytes LibraryContent(const Bytes &input, const Element &element)
{
    Bytes content = ContentOf(input, element);
    if (element.tag == 2 && !content.empty() && content[0] == 0) {
        content.erase(content.begin());
    }
    return content;
}

// Surveys the value of a known extension. libcrypto looks at it only when it is asked to.
void JudgeKnownValue(Survey *survey, const KnownExtension &known, const Bytes &value)
{
    Survey inside;
    Reader reader = ReaderOf(value, &inside);
    known.read(&reader, known.field);
    if (inside.library.erase(Departure::MALFORMED) != 0) {
        inside.library.insert(Departure::MALFORMED_EXTENSION);
    }
    survey->library.merge(inside.library);
    if (!known.isReadByLibcrypto(value)) {
        inside.differing = {{known.field, Departure::EXTENSION_FORM}};
    }
    survey->differing.insert(inside.differing.begin(), inside.differing.end());
}

// An extension that is there again fills its field again. What an earlier one has set and a later one does not mention
// stays, and a departure of one may be covered by the other.
void JudgeRepeated(Survey *survey, const KnownExtension &known)
{
    if (survey->differing.erase(known.field) != 0 || known.hasManyFields) {
        survey->mayDiffer[known.field] = Departure::REPEATED_EXTENSION;
    }
}

// Takes the value of an extension: what follows identifier and `critical`.
bool TakeExtensionValue(Reader *extension, Element *value)
{
    if (!Take(extension, value)) {
        return false;
    }
    if (IsBoolean(*value)) { // critical
        if (!Take(extension, value)) {
            return false;
        }
    }
    if (!IsTakenInside(d2i_ASN1_OCTET_STRING, ASN1_OCTET_STRING_free, WholeOf(*extension->input, *value))) {
        extension->survey->libcrypto.insert(Departure::EXTENSION_VALUE_TYPE);
    }
    return End(extension);
}

bool TakeExtension(Reader *reader, const std::vector<KnownExtension> &known, std::set<std::string> *seen)
{
    Reader extension;
    Element identifier;
    Element element;
    if (!TakeSequence(reader, &extension) || !TakeIdentifier(&extension, &identifier) ||
        !TakeExtensionValue(&extension, &element)) {
        return false;
    }
    const Bytes value = LibraryContent(*reader->input, element);
    if (value.empty()) {
        reader->survey->library.insert(Departure::EMPTY_EXTENSION);
        return true;
    }
    for (const KnownExtension &candidate : known) {
        if (candidate.identifier != LibraryContent(*reader->input, identifier)) {
            continue;
        }
        JudgeKnownValue(reader->survey, candidate, value);
        if (!seen->insert(candidate.field).second) {
            JudgeRepeated(reader->survey, candidate);
        }
        if (IsSegmented(element)) {
            reader->survey->mayDiffer[candidate.field] = Departure::SEGMENTED_STRING;
        }
    }
    return true;
}

} // namespace

bool Malformed(Reader *reader)
{
    reader->survey->library.insert(Departure::MALFORMED);
    reader->survey->libcrypto.insert(Departure::MALFORMED);
    return false;
}

bool AtEnd(const Reader &reader)
{
    return reader.pos == reader.end;
}

bool End(Reader *reader)
{
    return AtEnd(*reader) || Malformed(reader);
}

bool Peek(const Reader &reader, Element *element)
{
    return ReadElement(*reader.input, reader.pos, reader.end, element);
}

bool Take(Reader *reader, Element *element)
{
    if (!Peek(*reader, element)) {
        return Malformed(reader);
    }
    JudgeHeader(reader->survey, *element);
    if (element->lengthOctets != 0 && LengthOf(*element) == 0 && element->content == reader->visible) {
        reader->survey->libcrypto.insert(Departure::LENGTH_AT_END);
    }
    reader->pos = element->next;
    return true;
}

bool TakeSequence(Reader *reader, Reader *inside)
{
    Element element;
    if (!Take(reader, &element)) {
        return false;
    }
    if (!IsUniversal(element, 16, true)) {
        return Malformed(reader);
    }
    *inside = InsideOf(*reader, element);
    return true;
}

bool TakeList(Reader *reader, uint32_t tag, Reader *inside)
{
    Element element;
    if (!Take(reader, &element)) {
        return false;
    }
    if (element.cls != 0 || element.tag != tag) {
        return Malformed(reader);
    }
    if (!element.constructed) {
        reader->survey->library.insert(Departure::PRIMITIVE_LIST);
    }
    *inside = InsideOf(*reader, element);
    return true;
}

bool TakeWrapped(Reader *reader, const std::function<bool(Reader *)> &take)
{
    Element wrapper;
    if (!ReadHeader(*reader->input, reader->pos, reader->end, &wrapper)) {
        return Malformed(reader);
    }
    if (wrapper.indefinite) {
        if (!Take(reader, &wrapper)) {
            return false;
        }
        Reader inside = InsideOf(*reader, wrapper);
        return take(&inside) && End(&inside);
    }
    JudgeHeader(reader->survey, wrapper);
    if (wrapper.toldLength > reader->input->size() - wrapper.content) {
        return Malformed(reader);
    }
    reader->pos = wrapper.content;
    if (!take(reader)) {
        return false;
    }
    if (reader->pos != wrapper.content + wrapper.toldLength) {
        reader->survey->libcrypto.insert(Departure::WRAPPER_LENGTH);
    }
    return true;
}

bool TakeInteger(Reader *reader)
{
    Element element;
    if (!Take(reader, &element)) {
        return false;
    }
    if (!IsUniversal(element, 2, false)) {
        return Malformed(reader);
    }
    if (!IsTakenInside(d2i_ASN1_INTEGER, ASN1_INTEGER_free, WholeOf(*reader->input, element))) {
        reader->survey->libcrypto.insert(Departure::INTEGER_FORM);
    }
    return true;
}

bool TakeIdentifier(Reader *reader, Element *element)
{
    if (!Take(reader, element)) {
        return false;
    }
    if (!IsUniversal(*element, 6, false) ||
        !IsTakenInside(d2i_ASN1_OBJECT, ASN1_OBJECT_free, WholeOf(*reader->input, *element))) {
        reader->survey->libcrypto.insert(Departure::IDENTIFIER_FORM);
    }
    return true;
}

bool TakeTime(Reader *reader, const std::string &field)
{
    Element element;
    if (!Take(reader, &element)) {
        return false;
    }
    if (!IsTakenInside(d2i_ASN1_TIME, ASN1_TIME_free, WholeOf(*reader->input, element))) {
        reader->survey->libcrypto.insert(Departure::TIME_TYPE);
        return true;
    }
    if (element.constructed) {
        reader->survey->mayDiffer[field] = Departure::SEGMENTED_STRING;
        return true;
    }
    Departure departure = Departure::MALFORMED;
    if (IsDateDeparture(element.tag, ContentOf(*reader->input, element), &departure)) {
        reader->survey->differing[field] = departure;
    }
    return true;
}

bool TakeName(Reader *reader, const std::string &field)
{
    Reader name;
    if (!TakeList(reader, 16, &name)) {
        return false;
    }
    size_t relativeNames = 0;
    for (; !AtEnd(name); ++relativeNames) {
        Reader relativeName;
        if (!TakeList(&name, 17, &relativeName)) {
            return false;
        }
        size_t attributes = 0;
        for (; !AtEnd(relativeName); ++attributes) {
            if (!TakeAttribute(&relativeName, field)) {
                return false;
            }
        }
        if (attributes > MAX_NAME_PARTS) {
            reader->survey->library.insert(Departure::MANY_ATTRIBUTES);
        }
    }
    if (relativeNames > MAX_NAME_PARTS) {
        reader->survey->library.insert(Departure::MANY_RELATIVE_NAMES);
    }
    return true;
}

bool TakeAlgorithm(Reader *reader, const std::string &field)
{
    Reader algorithm;
    Element identifier;
    if (!TakeSequence(reader, &algorithm) || !TakeIdentifier(&algorithm, &identifier)) {
        return false;
    }
    if (!AtEnd(algorithm)) {
        Element parameters;
        if (!Take(&algorithm, &parameters)) {
            return false;
        }
        JudgeParameters(reader, parameters, field);
    }
    return End(&algorithm);
}

void JudgeBits(Survey *survey, const Bytes &encoding, const std::string &field)
{
    Element element;
    ReadElement(encoding, 0, encoding.size(), &element);
    if (element.constructed) {
        survey->library.insert(Departure::SEGMENTED_BITS);
    }
    if (!IsTakenInside(d2i_ASN1_BIT_STRING, ASN1_BIT_STRING_free, encoding)) {
        survey->libcrypto.insert(element.constructed ? Departure::MALFORMED : Departure::UNUSED_BITS);
        return;
    }
    const Bytes content = ContentOf(encoding, element);
    if (!element.constructed && content.size() > 1 && (content.back() & ((1U << content[0]) - 1)) != 0) {
        survey->differing[field] = Departure::PADDING_BITS;
    }
}

bool TakeBits(Reader *reader, const std::string &field, Element *element)
{
    if (!Take(reader, element)) {
        return false;
    }
    if (element->cls != 0 || element->tag != 3 || LengthOf(*element) == 0) {
        return Malformed(reader);
    }
    JudgeBits(reader->survey, WholeOf(*reader->input, *element), field);
    return true;
}

bool TakeExtensions(Reader *reader, const std::vector<KnownExtension> &known)
{
    Reader list;
    std::set<std::string> seen;
    if (!TakeList(reader, 16, &list)) {
        return false;
    }
    while (!AtEnd(list)) {
        if (!TakeExtension(&list, known, &seen)) {
            return false;
        }
    }
    return true;
}
