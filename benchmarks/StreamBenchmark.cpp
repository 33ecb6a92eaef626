// Writing and reading a whole set, sixteen types of equally many attributes with user data, in binary and as XML, in
// memory; beside pugixml, which saves and parses the same documents, and beside copying the same bytes.
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <pugixml.hpp>

#include <Kest/MemoryChannels.hpp>
#include <Kest/MemoryHandle.hpp>
#include <Kest/XMLIChannel.hpp>
#include <Kest/XMLOChannel.hpp>

#include <AttributeManager/AttributeManager.hpp>

#include "FilledSet.hpp"
#include "Measure.hpp"

namespace {

using namespace Bench;

constexpr const char* DocumentName = "AttributeSet";

/// Two sets of sixteen types, one to write and one to read into.
struct Document {
    explicit Document(std::size_t attributesPerType) : filled(attributesPerType, TypeCount, UserData::FortyBytes) {}

    FilledSet filled;
    ODB::Ref<ADB::AttributeSet> source = filled.Get();
    ODB::IdSpace targetSpace;
    ODB::Ref<ADB::AttributeSet> target = CreateAttributeSet(&targetSpace, Kest::Guid(), false);
};

/// The document with the size of the state; kept from one benchmark to the next of that size.
Document& GetDocument(const benchmark::State& state) {
    static std::unique_ptr<Document> document;
    static std::size_t size = 0;
    if (size != SizeOf(state)) {
        document.reset();
        document = std::make_unique<Document>(SizeOf(state));
        size = SizeOf(state);
    }
    return *document;
}

void WriteBinary(Kest::MemoryOChannel& channel, const Document& document) {
    Require(document.source.GetConst()->Write(channel) == 0, "the set cannot be written");
}

std::string WriteXml(const Document& document, short typeId) {
    Kest::StringSink sink;
    Kest::XMLOChannel channel(sink, DocumentName);
    channel.BeginDocument();
    document.source.GetConst()->SaveAttributeTypeToXMLFile(channel, typeId);
    Require(channel.EndDocument() == 0, "the set cannot be written");
    return sink.TakeText();
}

std::vector<std::string> WriteAllXml(const Document& document) {
    std::vector<std::string> texts;
    for (short typeId = 1; typeId <= static_cast<short>(TypeCount); ++typeId)
        texts.push_back(WriteXml(document, typeId));
    return texts;
}

/// Says what one round did: nanoseconds for each attribute, and bytes.
void CountRound(benchmark::State& state, std::size_t bytes) {
    CountItems(state, TypeCount * SizeOf(state));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(bytes));
    state.counters["bytes"] = static_cast<double>(bytes);
}

std::size_t SizeOfAll(const std::vector<std::string>& texts) {
    std::size_t size = 0;
    for (const std::string& text : texts)
        size += text.size();
    return size;
}

struct Library;
struct Pugixml;
struct Memcpy;

template <class>
void WriteBinary(benchmark::State& state) {
    const Document& document = GetDocument(state);
    std::size_t size = 0;
    for (auto _ : state) {
        Kest::MemoryOChannel channel;
        TimeRound(state, [&] { WriteBinary(channel, document); });
        size = channel.GetSize();
    }
    CountRound(state, size);
}

template <class>
void ReadBinary(benchmark::State& state) {
    Document& document = GetDocument(state);
    Kest::MemoryOChannel written;
    WriteBinary(written, document);
    for (auto _ : state) {
        document.target->Clear();
        Kest::MemoryIChannel channel(written.GetBytes(), written.GetSize());
        TimeRound(state, [&] { Require(document.target->Read(channel) == 0, "the set cannot be read"); });
    }
    document.target->Clear();
    CountRound(state, written.GetSize());
}

template <class>
void WriteXml(benchmark::State& state) {
    const Document& document = GetDocument(state);
    std::size_t size = 0;
    for (auto _ : state) {
        size = 0;
        TimeRound(state, [&] {
            for (short typeId = 1; typeId <= static_cast<short>(TypeCount); ++typeId)
                size += WriteXml(document, typeId).size();
        });
    }
    CountRound(state, size);
}

template <class>
void ReadXml(benchmark::State& state) {
    Document& document = GetDocument(state);
    const std::vector<std::string> texts = WriteAllXml(document);
    for (auto _ : state) {
        document.target->Clear();
        TimeRound(state, [&] {
            for (std::size_t type = 0; type < TypeCount; ++type) {
                Kest::XMLIChannel channel(texts[type], DocumentName);
                const int status = document.target->LoadAttributeTypeFromXMLFile(channel, static_cast<short>(type + 1),
                                                                                 Kest::PlatformSign::LittleEndian);
                Require(status == 0 && channel.EndDocument() == 0, "the set cannot be read");
            }
        });
    }
    document.target->Clear();
    CountRound(state, SizeOfAll(texts));
}

struct TextWriter : pugi::xml_writer {
    void write(const void* bytes, std::size_t size) override { text.append(static_cast<const char*>(bytes), size); }
    std::string text;
};

template <class>
void SaveDocuments(benchmark::State& state) {
    const std::vector<std::string> texts = WriteAllXml(GetDocument(state));
    for (auto _ : state) {
        double seconds = 0;
        for (const std::string& text : texts) {
            pugi::xml_document tree;
            Require(bool(tree.load_buffer(text.data(), text.size())), "a document cannot be parsed");
            TextWriter writer;
            const double start = GetProcessorTime();
            tree.save(writer, "\t", pugi::format_default, pugi::encoding_utf8);
            seconds += GetProcessorTime() - start;
        }
        state.SetIterationTime(seconds);
    }
    CountRound(state, SizeOfAll(texts));
}

template <class>
void ParseDocuments(benchmark::State& state) {
    const std::vector<std::string> texts = WriteAllXml(GetDocument(state));
    for (auto _ : state) {
        std::vector<pugi::xml_document> trees(TypeCount);
        TimeRound(state, [&] {
            for (std::size_t type = 0; type < TypeCount; ++type)
                Require(bool(trees[type].load_buffer(texts[type].data(), texts[type].size())),
                        "a document cannot be parsed");
        });
    }
    CountRound(state, SizeOfAll(texts));
}

template <class>
void CopyBytes(benchmark::State& state) {
    Kest::MemoryOChannel written;
    WriteBinary(written, GetDocument(state));
    std::vector<char> copy(written.GetSize());
    for (auto _ : state) {
        TimeRound(state, [&] { std::memcpy(copy.data(), written.GetBytes(), written.GetSize()); });
        benchmark::DoNotOptimize(copy.data());
    }
    CountRound(state, written.GetSize());
}

void StreamSizes(benchmark::internal::Benchmark* measured) {
    measured->Arg(2000)->Arg(32766)->Unit(benchmark::kMillisecond)->UseManualTime();
}

BENCHMARK_TEMPLATE(WriteBinary, Library)->Apply(StreamSizes);
BENCHMARK_TEMPLATE(ReadBinary, Library)->Apply(StreamSizes);
BENCHMARK_TEMPLATE(WriteXml, Library)->Apply(StreamSizes);
BENCHMARK_TEMPLATE(ReadXml, Library)->Apply(StreamSizes);
BENCHMARK_TEMPLATE(SaveDocuments, Pugixml)->Apply(StreamSizes);
BENCHMARK_TEMPLATE(ParseDocuments, Pugixml)->Apply(StreamSizes);
BENCHMARK_TEMPLATE(CopyBytes, Memcpy)->Apply(StreamSizes);

}   // namespace
