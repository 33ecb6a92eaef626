#include "ListCommand.hpp"

#include "Arguments.hpp"
#include "Choice.hpp"
#include "ListHelp.hpp"
#include "Session.hpp"
#include "SortRules.hpp"
#include "import/FileImport.hpp"
#include "output/ListWriter.hpp"

#include <memory>
#include <new>
#include <string>
#include <vector>

#include <Kest/MemoryHandle.hpp>

namespace Host {

namespace {

constexpr std::string_view Name = "list";

constexpr Option Options[] = {{"--type", "KIND"},   {"--sort", "KEY"}, {"--extension", "TEXT"},
                              {"--format", "FORM"}, {"--all", ""},     {"--help", ""}};

constexpr Choice<SortKey> SortKeys[] = {
    {"index", SortKey::Index}, {"name", SortKey::Name}, {"extension", SortKey::Extension}};
constexpr Choice<ListFormat> Formats[] = {
    {"table", ListFormat::Table}, {"tsv", ListFormat::Tsv}, {"json", ListFormat::Json}};

struct ListOptions {
    explicit ListOptions(const Arguments& arguments)
        : kind(ChooseKind(arguments)),
          sortKey(Choose<SortKey>(SortKeys, arguments, "--sort")),
          format(Choose<ListFormat>(Formats, arguments, "--format")),
          byExtension(arguments.Has("--extension")),
          extension(arguments.Get("--extension", "")),
          showsAll(arguments.Has("--all")) {}

    const KindEntry* kind;   // null: all kinds
    SortKey sortKey;
    ListFormat format;
    bool byExtension;
    std::string extension;
    bool showsAll;
};

// Owns the index array that the sort rules give.
class IndexArray {
public:
    IndexArray() = default;
    ~IndexArray() { BMKillHandle(&handle); }
    IndexArray(const IndexArray&) = delete;
    IndexArray& operator=(const IndexArray&) = delete;

    short** handle = nullptr;
    short count = 0;

    const short* begin() const { return *handle; }
    const short* end() const { return *handle + count; }
};

// The attributes to be listed, in order.
std::vector<const KindBase*> GetAttributes(const ODB::ConstRef<ADB::AttributeSet>& set, short typeId,
                                           const ListOptions& options) {
    IndexArray indexes;
    if (set->SortAttributeType(typeId, GetSortRule(options.sortKey, options.byExtension), options.extension.c_str(),
                               &indexes.count, &indexes.handle) != 0)
        throw std::bad_alloc();
    std::vector<const KindBase*> attributes;
    for (const short index : indexes) {
        const auto* const attribute = dynamic_cast<const KindBase*>(set->GetConstAttribute(typeId, index).Get());
        if (attribute != nullptr && (options.showsAll || attribute->CheckAttribute()))
            attributes.push_back(attribute);
    }
    return attributes;
}

void WriteLists(const ODB::ConstRef<ADB::AttributeSet>& set, const ListOptions& options, std::ostream& out) {
    const bool ofAllKinds = options.kind == nullptr;
    const std::unique_ptr<ListWriter> writer = MakeListWriter(options.format, out, set, ofAllKinds);
    for (const KindEntry& kind : GetKinds()) {
        if (!ofAllKinds && &kind != options.kind)
            continue;
        const std::vector<const KindBase*> attributes = GetAttributes(set, TypeIdOf(kind.record.refId), options);
        if (ofAllKinds && attributes.empty())
            continue;
        writer->BeginKind(kind, attributes.size());
        for (const KindBase* const attribute : attributes)
            writer->Write(*attribute);
        writer->EndKind();
    }
    writer->Finish();
}

ExitCode RunList(std::span<const std::string> given, std::ostream& out, std::ostream& notes, Progress& progress) {
    const Arguments arguments(given, Options, Name);
    const ListOptions options(arguments);
    if (arguments.GetFiles().empty())
        throw Failure("no file is given to list" + TryHelp(Name));

    const Session session;
    FileImporter importer(session.GetSet());
    progress.Begin(Name, arguments.GetFiles().size());
    for (const std::string& file : arguments.GetFiles()) {
        importer.Import(file);
        progress.Step(CountAttributes(session.GetSet()));
    }
    progress.Erase();
    WriteLists(session.GetSet(), options, out);
    for (const std::string& note : importer.GetNotes())
        notes << note << '\n';
    return Done;
}

}   // namespace

const Command ListCommand{Name, "print the attributes of drawings and libraries", GetListHelp, RunList};

}   // namespace Host
