#include "LooseReferences.hpp"

#include "Session.hpp"
#include "documents/AttributeText.hpp"
#include "documents/SetFills.hpp"
#include "kinds/AllKinds.hpp"
#include "kinds/KindTable.hpp"
#include "kinds/References.hpp"

namespace Host {

namespace {

using ADB::GeneralAttribute;

std::string TextOfLooseEnd(unsigned int refId, short index) {
    return std::string(FindKind(refId)->record.name) + ' ' + std::to_string(index) +
           ", which is not there: it refers to none now";
}

class Clearing {
public:
    explicit Clearing(const ODB::Ref<ADB::AttributeSet>& clearedSet) : set(clearedSet) {}

    std::vector<std::string> Run() {
        for (const KindEntry& kind : GetKinds())
            set.GetConst()->EnumerateAttributes(
                TypeIdOf(kind.record.refId), ADB::SortByIndex, ADB::Ascending,
                [this](const ODB::Ref<GeneralAttribute>& attribute) { Clear(attribute); });
        for (const SetFill& fill : SetFills) {
            const short index = fill.get(*set.GetConst());
            if (index == 0 || !IsGone(Fill::Record.refId, index))
                continue;
            fill.put(*set.GetConst(), 0);
            lines.push_back("set: the " + std::string(fill.name) + " fill was " +
                            TextOfLooseEnd(Fill::Record.refId, index));
        }
        return std::move(lines);
    }

private:
    bool IsGone(unsigned int refId, short index) const {
        return set.GetConst()->AttributeIndexExist(TypeIdOf(refId), index) != 0;
    }

    void Clear(const ODB::Ref<GeneralAttribute>& attribute) {
        const auto& referrer = dynamic_cast<const KindBase&>(*attribute.GetConst());
        const std::size_t before = lines.size();
        for (const AttributeReference& reference : GetDistinctReferences(referrer))
            if (IsGone(reference.refId, reference.index))
                lines.push_back(TextOfAttribute(referrer) + ": " + reference.field + " referred to " +
                                TextOfLooseEnd(reference.refId, reference.index));
        if (lines.size() != before)
            dynamic_cast<KindBase&>(*attribute).ClearReferences([this](unsigned int refId, short index) {
                return IsGone(refId, index);
            });
    }

    ODB::Ref<ADB::AttributeSet> set;
    std::vector<std::string> lines;
};

}   // namespace

std::vector<std::string> ClearLooseReferences(const ODB::Ref<ADB::AttributeSet>& set) {
    return Clearing(set).Run();
}

}   // namespace Host
