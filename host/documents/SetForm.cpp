#include "SetForm.hpp"

#include "kinds/AllKinds.hpp"
#include "readers/TextLines.hpp"

#include <algorithm>

namespace Host {

std::string NameOf(SetForm form) {
    return form == SetForm::Xml ? "XML" : "stream version " + std::to_string(static_cast<int>(form));
}

bool LeavesOut(SetForm form, unsigned int refId) noexcept {
    const bool isOld = form == SetForm::Stream1 || form == SetForm::Stream2;
    if (refId == BuildingMaterial::Record.refId)
        return isOld;
    return form == SetForm::Stream1 &&
           (refId == GraphicOverride::Record.refId || refId == OperationProfile::Record.refId);
}

bool IsStorePath(const std::string& path) {
    constexpr std::string_view Extension = ".zas";
    const std::size_t length = std::min(path.size(), Extension.size());
    return EqualsIgnoringCase(std::string_view(path).substr(path.size() - length), Extension);
}

}   // namespace Host
