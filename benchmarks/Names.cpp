#include "Names.hpp"

#include <array>
#include <cstdint>
#include <random>
#include <unordered_set>
#include <utility>

#include <Kest/CaseMapping.hpp>

namespace Bench {
namespace {

constexpr std::array<std::u16string_view, 24> PlainWords = {
    u"Wall", u"A-WALL",  u"Roof",   u"Slab", u"Exterior", u"interior", u"Finish", u"Door",
    u"wIn",  u"Hatch",   u"Column", u"S-",   u"Beam",     u"Dim",      u"Text",   u"Section",
    u"Pipe", u"Ceiling", u"Floor",  u"Cut",  u"hidden",   u"Dashed",   u"Import", u"2nd",
};
// The last word has letters beyond the basic plane.
constexpr std::array<std::u16string_view, 10> ForeignWords = {
    u"Außenwand", u"Türöffnung", u"Födém",    u"Стена", u"Крыша",
    u"Τοίχος",    u"façade",     u"壁仕上げ", u"Çatı",  u"\U00010428\U00010410",
};
constexpr std::array<std::u16string_view, 4> Separators = {u" ", u"-", u"_", u" - "};
constexpr std::size_t ForeignShare = 5;   // every fifth name

/// Plain remainders: the distributions of the standard library differ from one maker to another.
class Dice {
public:
    explicit Dice(std::uint64_t seed) : engine(seed) {}
    std::size_t Below(std::size_t bound) { return static_cast<std::size_t>(engine() % bound); }
    template <class Words>
    std::u16string_view OneOf(const Words& words) {
        return words[Below(words.size())];
    }

private:
    std::mt19937_64 engine;
};

bool IsHighSurrogate(char16_t unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}

std::u16string MakeName(Dice& dice, std::size_t length, bool foreign) {
    std::u16string name(foreign ? dice.OneOf(ForeignWords) : dice.OneOf(PlainWords));
    while (name.size() < length) {
        name += dice.OneOf(Separators);
        name += foreign && dice.Below(2) == 0 ? dice.OneOf(ForeignWords) : dice.OneOf(PlainWords);
    }
    name.resize(length);
    for (std::size_t digit = 1; digit <= 4; ++digit)
        name[length - digit] = static_cast<char16_t>(u'0' + dice.Below(10));
    if (IsHighSurrogate(name[length - 5]))
        name[length - 5] = u'.';
    return name;
}

}   // namespace

std::vector<std::u16string> MakeNames(std::size_t count, std::size_t shortest, std::size_t longest) {
    Dice dice(20'000'101);
    std::vector<std::u16string> names;
    std::unordered_set<std::u16string> taken;
    while (names.size() < count) {
        const std::size_t length = shortest + dice.Below(longest - shortest + 1);
        std::u16string name = MakeName(dice, length, names.size() % ForeignShare == 0);
        std::u16string upper(name.size(), u' ');
        Kest::ConvertToUpper(name, upper.data());
        if (taken.insert(std::move(upper)).second)
            names.push_back(std::move(name));
    }
    return names;
}

std::u16string InOtherCase(std::u16string_view name) {
    std::u16string other(name.size(), u' ');
    Kest::ConvertToUpper(name, other.data());
    for (std::size_t place = 0; place < name.size(); ++place)
        if (name[place] >= u'A' && name[place] <= u'Z')
            other[place] = static_cast<char16_t>(name[place] + (u'a' - u'A'));
    return other;
}

std::u16string MakeAbsent(std::u16string_view name) {
    std::u16string absent(name);
    absent.back() = u'~';
    return absent;
}

std::vector<std::size_t> MakeRandomOrder(std::size_t count) {
    Dice dice(7);
    std::vector<std::size_t> order(count);
    for (std::size_t place = 0; place < count; ++place) {
        const std::size_t other = dice.Below(place + 1);
        order[place] = order[other];
        order[other] = place;
    }
    return order;
}

}   // namespace Bench
