#include <IO/Location.hpp>

#include <string_view>
#include <utility>

namespace IO {
namespace {

constexpr int NoSuchPlace = -7003;

bool IsSeparator(char16_t unit) {
#if defined(_WIN32)
    return unit == u'/' || unit == u'\\';
#else
    return unit == u'/';
#endif
}

// Units of the part that no name can be taken from: "/", or "C:/" and "C:" on Windows.
std::size_t RootLength(std::u16string_view path) {
    std::size_t length = 0;
#if defined(_WIN32)
    if (path.size() >= 2 && path[1] == u':')
        length = 2;
#endif
    return length < path.size() && IsSeparator(path[length]) ? length + 1 : length;
}

std::size_t LastNameBegin(std::u16string_view path) {
    std::size_t begin = path.size();
    while (begin > RootLength(path) && !IsSeparator(path[begin - 1]))
        --begin;
    return begin;
}

bool IsPlainName(std::u16string_view name) {
    if (name.empty() || name == u"." || name == u"..")
        return false;
    for (const char16_t unit : name)
        if (IsSeparator(unit) || unit == 0)
            return false;
    return true;
}

}   // namespace

Location::Location(const Kest::UniString& pathText) {
    const std::u16string_view text = pathText.GetView();
    const std::size_t root = RootLength(text);
    path.Reserve(text.size());
    for (std::size_t place = 0; place < text.size(); ++place) {
        const bool separator = IsSeparator(text[place]);
        const bool repeated = separator && place >= root && place > 0 && IsSeparator(text[place - 1]);
        if (!repeated)
            path.Append(separator ? u'/' : text[place]);
    }
    if (path.GetLength() > root && path.GetLength() > 1 && IsSeparator(path[path.GetLength() - 1]))
        path.Truncate(path.GetLength() - 1);
}

int Location::AppendToLocal(const Kest::UniString& name) {
    if (!IsPlainName(name))
        return NoSuchPlace;
    Kest::UniString longer(path);
    if (longer.GetLength() > RootLength(path))
        longer.Append(u'/');
    longer.Append(name.GetView());
    path = std::move(longer);
    return 0;
}

int Location::DeleteLastLocalName() {
    const std::size_t begin = LastNameBegin(path);
    if (begin == path.GetLength())
        return NoSuchPlace;
    path.Truncate(begin > RootLength(path) ? begin - 1 : begin);
    return 0;
}

Kest::UniString Location::GetLastLocalName() const {
    return Kest::UniString(path.GetView().substr(LastNameBegin(path)));
}

}   // namespace IO
