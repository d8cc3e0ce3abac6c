#include "tests/differential/date.h"

#include <string>

namespace
{

constexpr int FIRST_FULL_YEAR = 1901;

// A text that is read from its start.
struct Text {
    std::string left;
};

bool IsDigit(char character)
{
    return character >= '0' && character <= '9';
}

bool TakeTwoDigits(Text *text, int from, int to, int *number)
{
    if (text->left.size() < 2 || !IsDigit(text->left[0]) || !IsDigit(text->left[1])) {
        return false;
    }
    *number = 10 * (text->left[0] - '0') + (text->left[1] - '0');
    text->left.erase(0, 2);
    return *number >= from && *number <= to;
}

bool TakeYear(Text *text, unsigned tag, int *year)
{
    int high = 0;
    int low = 0;
    if ((tag == 24 && !TakeTwoDigits(text, 0, 99, &high)) || !TakeTwoDigits(text, 0, 99, &low)) {
        return false;
    }
    *year = tag == 24 ? 100 * high + low : low < 50 ? 2000 + low : 1900 + low;
    return true;
}

int DaysOf(int year, int month)
{
    static const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool isLeap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return month == 2 && isLeap ? 29 : days[month - 1];
}

// Z, or an offset from it.
bool TakeZone(Text *text)
{
    if (text->left == "Z") {
        text->left.clear();
        return true;
    }
    int number = 0;
    if (text->left.empty() || (text->left[0] != '+' && text->left[0] != '-')) {
        return false;
    }
    text->left.erase(0, 1);
    return TakeTwoDigits(text, 0, 12, &number) && TakeTwoDigits(text, 0, 59, &number) && text->left.empty();
}

bool TakeFraction(Text *text)
{
    size_t digits = 1;
    while (digits < text->left.size() && IsDigit(text->left[digits])) {
        ++digits;
    }
    text->left.erase(0, digits);
    return digits > 1;
}

// Whether the text is a time in any form that libcrypto converts.
bool IsTime(unsigned tag, const der::Bytes &content, int *year)
{
    Text text = {std::string(content.begin(), content.end())};
    int month = 0;
    int number = 0;
    if (!TakeYear(&text, tag, year) || !TakeTwoDigits(&text, 1, 12, &month) ||
        !TakeTwoDigits(&text, 1, DaysOf(*year, month), &number) || !TakeTwoDigits(&text, 0, 23, &number) ||
        !TakeTwoDigits(&text, 0, 59, &number)) {
        return false;
    }
    if (!text.left.empty() && IsDigit(text.left[0])) {
        if (!TakeTwoDigits(&text, 0, 59, &number)) {
            return false;
        }
        if (tag == 24 && !text.left.empty() && text.left[0] == '.' && !TakeFraction(&text)) {
            return false;
        }
    }
    return TakeZone(&text);
}

} // namespace

bool IsDateDeparture(unsigned tag, const der::Bytes &content, Departure *departure)
{
    const bool isRightLength = content.size() == (tag == 23 ? 13U : 15U); // all that the library asks for
    int year = 0;
    const bool isTime = IsTime(tag, content, &year);
    if (isRightLength != isTime) {
        *departure = isTime ? Departure::TIME_OTHER_FORM : Departure::TIME_UNCHECKED;
        return true;
    }
    *departure = Departure::OLD_YEAR;
    return isTime && year < FIRST_FULL_YEAR;
}
