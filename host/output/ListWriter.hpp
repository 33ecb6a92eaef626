#pragma once

#include "kinds/FieldText.hpp"
#include "kinds/KindTable.hpp"

#include <cstddef>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <ODB/Ref.hpp>

#include <AttributeManager/AttributeSet.hpp>

namespace Host {

enum class ListFormat { Table, Tsv, Json };

/// Writes lists of attributes, one list per kind, in one of the formats. Text is made safe as SafeText.hpp says.
class ListWriter {
public:
    virtual void BeginKind(const KindEntry& kind, std::size_t count) = 0;
    virtual void Write(const KindBase& attribute) = 0;
    virtual void EndKind() = 0;
    /// Ends the whole; nothing is written after that.
    virtual void Finish() = 0;
    virtual ~ListWriter() = default;
};

/// A writer to \p out, which must outlive it; so must \p set, in which references are looked up.
/// \param ofAllKinds  whether lists of several kinds follow each other, which has an effect on the format tsv only: its
///        columns are those that all kinds have
std::unique_ptr<ListWriter> MakeListWriter(ListFormat format, std::ostream& out,
                                           const ODB::ConstRef<ADB::AttributeSet>& set, bool ofAllKinds);

/// The names of the columns that a list of the kind has in the formats table and tsv.
std::vector<std::string> GetColumnNames(const KindEntry& kind);

}   // namespace Host
