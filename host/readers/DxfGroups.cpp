#include "DxfGroups.hpp"

#include "Number.hpp"
#include "ReadError.hpp"

#include <limits>

namespace Host {

bool DxfGroups::Next() {
    constexpr int Comment = 999;
    std::string_view code;
    do {
        if (!lines.Next(code) || (Trimmed(code).empty() && lines.IsRestBlank()))
            return false;
        const int number = ParseInteger(code, lines.GetCount(), "the group code");
        if (number < std::numeric_limits<short>::min() || number > std::numeric_limits<short>::max())
            throw ReadError(lines.GetCount(),
                            "there is no group code " + Quoted(Trimmed(code)) + ": save the drawing again as text DXF");
        group.code = number;
        if (!lines.Next(group.value))
            return false;
        group.line = lines.GetCount();
    } while (group.code == Comment);
    return true;
}

}   // namespace Host
