#include "References.hpp"

#include <set>
#include <string_view>
#include <tuple>
#include <utility>

namespace Host {

namespace {

class ReferenceVisitor final : public FieldVisitor {
public:
    std::vector<AttributeReference> TakeReferences() { return std::move(references); }

    void BeginField(const char* name, bool) override { field = name; }
    void Reference(unsigned int refId, short index) override {
        if (index != 0)
            references.push_back({field, refId, index});
    }

    void Integer(int) override {}
    void Real(double) override {}
    void Boolean(bool) override {}
    void Text(const Kest::UniString&) override {}
    void Absent() override {}
    void BeginList() override {}
    void BeginRecord() override {}
    void End() override {}

private:
    const char* field = nullptr;
    std::vector<AttributeReference> references;
};

}   // namespace

std::vector<AttributeReference> GetReferences(const KindBase& attribute) {
    ReferenceVisitor visitor;
    attribute.VisitFields(visitor);
    return visitor.TakeReferences();
}

std::vector<AttributeReference> GetDistinctReferences(const KindBase& attribute) {
    std::vector<AttributeReference> distinct;
    std::set<std::tuple<std::string_view, unsigned int, short>> seen;
    for (const AttributeReference& reference : GetReferences(attribute))
        if (seen.emplace(reference.field, reference.refId, reference.index).second)
            distinct.push_back(reference);
    return distinct;
}

}   // namespace Host
