#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace qnps {

// Text of an OLE automation date (days since 30 December 1899, the time of day as the fraction;
// before that day the fraction counts forward from the day's start although the number is
// negative). The text reads back as exactly the same double.
class OleDate {
public:
    // ISO 8601 local date and time with as many fractional seconds as the value needs. A value that
    // no such text gives back (a time less than a day before 30 December 1899, which reads the same
    // as that time on the day itself; a year outside 1 to 9999; a rare time within the first second
    // of 30 December 1899)
    // is written as the day count's shortest decimal text, which Parse takes as well.
    static std::string ToText(double days);
    // ISO 8601 date, optionally with "T" and hh:mm[:ss[.fraction]]; or a decimal day count.
    static std::optional<double> Parse(std::string_view text);

private:
    static std::optional<double> ParseIso(std::string_view text);
};

}  // namespace qnps
