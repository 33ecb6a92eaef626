#include <Kest/XMLTag.hpp>

#include <Kest/ChannelStatus.hpp>

#include "support/ForEachFailure.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

using namespace std::string_literals;
using Kest::Array;
using Kest::ClassVersion;
using Kest::Guid;
using Kest::StringSink;
using Kest::UniString;
using Kest::XMLIChannel;
using Kest::XMLITag;
using Kest::XMLOChannel;
using Kest::XMLTag;
using KestXML::XMLIChannelException;

namespace ChannelStatus = Kest::ChannelStatus;

namespace {

constexpr char Id[] = "{08DE19E5-D6A1-4E65-B87A-550201F72C02}";

std::string Document(const std::string& body) {
    return "<Doc>" + body + "</Doc>";
}

std::string Repeat(const std::string& text, std::size_t count) {
    std::string result;
    while (count-- > 0)
        result += text;
    return result;
}

// The document with one text in it.
std::string Written(const UniString& text) {
    StringSink sink;
    XMLOChannel channel(sink, "Doc");
    channel.BeginDocument();
    channel.Write("T", text);
    EXPECT_EQ(channel.EndDocument(), 0);
    return sink.TakeText();
}

// Reads document with read, then ends it. The first code, or the message of the exception that opening it throws.
template <class Read>
std::string Outcome(const std::string& document, Read read) {
    try {
        Array<UniString> messages;
        XMLIChannel channel(document, "Doc");
        channel.SetMessages(&messages);
        read(channel);
        const int status = channel.EndDocument();
        EXPECT_EQ(status != 0, messages.GetSize() == 1) << document;
        channel.SetMessages(nullptr);
        EXPECT_NE(channel.CloseTag(), 0);
        return messages.IsEmpty() ? "" : messages.GetFirst().ToCStr();
    } catch (const XMLIChannelException& exception) {
        EXPECT_EQ(exception.GetErrorCode(), ChannelStatus::Damaged);
        return exception.GetMessage().ToCStr();
    }
}

void ReadNothing(XMLIChannel&) {}

void ReadT(XMLIChannel& channel) {
    UniString text;
    channel.Read("T", text);
}

struct Sample {
    short small = 0;
    bool flag = false;
    double real = 0;
    UniString name;
    Guid id;
    ClassVersion version;
    std::string bytes;

    bool operator==(const Sample&) const = default;
};

const Sample Full{
    -7, true, 0.1, u"<Wand> \\ Süd\r\n\t\U0001F600", Guid(Id), ClassVersion(1, 12), std::string(150, '\xA5')};

int Write(const Sample& sample, XMLOChannel& channel) {
    channel.BeginDocument();
    {
        XMLTag tag(channel, "Sample");
        channel.WriteVersion(sample.version);
        channel.Write("Small", sample.small);
        channel.Write("Flag", sample.flag);
        channel.Write("Real", sample.real);
        channel.Write("Name", sample.name);
        channel.Write("Id", sample.id);
        XMLTag empty(channel, "Empty");
        empty.Close();
        XMLTag data(channel, "Data");
        channel.WriteXMLCDATABinToHex(sample.bytes.data(), sample.bytes.size());
    }
    return channel.EndDocument();
}

void Read(XMLIChannel& channel, Sample& sample) {
    XMLITag tag(channel, "Sample");
    channel.ReadVersion(sample.version);
    channel.Read("Small", sample.small);
    channel.Read("Flag", sample.flag);
    channel.Read("Real", sample.real);
    channel.Read("Name", sample.name);
    channel.Read("Id", sample.id);
    if (channel.IsNextTag("Empty"))
        channel.SkipElement();
    while (channel.IsNextStartTag()) {
        XMLITag data(channel, "Data");
        unsigned int size = 0;
        if (channel.ReadCDATASize(size) == 0) {
            sample.bytes.resize(size);
            channel.ReadXMLCDATAHexToBin(sample.bytes.data(), size);
        }
    }
}

// What any bytes must give: the sample, a code or the channel's exception.
bool IsReadOrRefused(const std::string& document, Sample& sample) {
    try {
        XMLIChannel channel(document, "Doc");
        Read(channel, sample);
        return channel.EndDocument() == 0;
    } catch (const XMLIChannelException&) {
        return false;
    }
}

}   // namespace

TEST(XMLChannelTest, DocumentIsReadable) {
    StringSink sink;
    XMLOChannel channel(sink, "Doc");
    ASSERT_EQ(Write(Full, channel), 0);
    const std::string line = Repeat("A5", 64);
    EXPECT_EQ(sink.GetText(), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Doc>\n\t<Sample>\n"
                              "\t\t<ClassVersion>1.12</ClassVersion>\n\t\t<Small>-7</Small>\n\t\t<Flag>true</Flag>\n"
                              "\t\t<Real>0.1</Real>\n"
                              "\t\t<Name>&lt;Wand&gt; \\\\ S\xC3\xBC"
                              "d&#13;&#10;&#9;\xF0\x9F\x98\x80</Name>\n"
                              "\t\t<Id>" +
                                  std::string(Id) +
                                  "</Id>\n\t\t<Empty></Empty>\n"
                                  "\t\t<Data>\n\t\t\t<CDATASize>150</CDATASize>\n\t\t\t<![CDATA[" +
                                  line + "\n" + line + "\n" + Repeat("A5", 22) +
                                  "]]>\n\t\t</Data>\n\t</Sample>\n</Doc>\n");
    Sample sample;
    EXPECT_TRUE(IsReadOrRefused(sink.GetText(), sample));
    EXPECT_EQ(sample, Full);
}

TEST(XMLChannelTest, AnyTextSurvives) {
    UniString all;
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit)   // every surrogate alone, but for the pair at the border
        all += static_cast<char16_t>(0xFFFF - unit);
    UniString random;
    std::mt19937 generator(7);
    const std::u16string_view nasty = u"a]>&<\"'\\u0 \t\r\n\u0085\u2028\xD83D\xDE00\xDC00\xFFFE\x7F\x1";
    for (int count = 0; count < 100'000; ++count)
        random += nasty[generator() % nasty.size()];
    const UniString texts[] = {u"", u" ", u"\r\n", u"]]>", u"\\u0041", u"&amp;", UniString(u"\0x", 2), all, random};
    for (const UniString& text : texts) {
        XMLIChannel channel(Written(text), "Doc");
        UniString read;
        EXPECT_EQ(channel.Read("T", read), 0);
        EXPECT_TRUE(read == text) << text.GetLength();
        EXPECT_EQ(channel.EndDocument(), 0);
    }
    EXPECT_NE(Written(UniString(u"\xD800\\\xFFFF", 3)).find("<T>\\uD800\\\\\\uFFFF</T>"), std::string::npos);
}

TEST(XMLChannelTest, NumbersKeepTheirLimits) {
    const auto survives = [](auto value) {
        StringSink sink;
        XMLOChannel out(sink, "Doc");
        out.BeginDocument();
        out.Write("V", value);
        out.EndDocument();
        XMLIChannel in(sink.TakeText(), "Doc");
        decltype(value) read{};
        return in.Read("V", read) == 0 && in.EndDocument() == 0 && (read == value || (read != read && value != value));
    };
    const auto limitsSurvive = [&](auto zero) {
        using Limits = std::numeric_limits<decltype(zero)>;
        return survives(Limits::lowest()) && survives(Limits::max()) && survives(zero);
    };
    EXPECT_TRUE(limitsSurvive(short{}) && limitsSurvive(static_cast<unsigned short>(0)) && limitsSurvive(0) &&
                limitsSurvive(0U) && limitsSurvive(std::int64_t{}) && limitsSurvive(std::uint64_t{}) &&
                limitsSurvive(false));
    for (const double value :
         {1e-310, 1.0 / 3, -1e300, std::numeric_limits<double>::max(), HUGE_VAL, -HUGE_VAL, -std::nan("")})
        EXPECT_TRUE(survives(value)) << value;
}

TEST(XMLChannelTest, ValuesAreReadExactlyOrNotAtAll) {
    const auto read = [](const std::string& content, auto value) {
        const auto before = value;
        XMLIChannel channel(Document("<V>" + content + "</V>"), "Doc");
        const bool isRead = channel.Read("V", value) == 0;
        EXPECT_TRUE(isRead || value == before) << content;
        EXPECT_EQ(channel.GetStatus(), isRead ? 0 : ChannelStatus::Damaged) << content;
        return isRead;
    };
    for (const char* good : {"-32768", " 7\r\n\t", "<!-- n -->7<?p?>", "<![CDATA[7]]>", "&#x37;", "007"})
        EXPECT_TRUE(read(good, short{9})) << good;
    for (const char* bad : {"70000", "-32769", "", " ", "7 7", "+7", "0x7", "7.0", "\\u0037", "7<V/>", "\xC3\xBC"})
        EXPECT_FALSE(read(bad, short{9})) << bad;
    for (const char* bad : {"-1", "4294967296"})
        EXPECT_FALSE(read(bad, 9U)) << bad;
    for (const char* bad : {"1e999", "NaN", "infinity", "1,5", "nan(1)"})
        EXPECT_FALSE(read(bad, 9.0)) << bad;
    EXPECT_TRUE(read("1", false) && read(" false ", true) && !read("True", false) && !read("2", true));
    EXPECT_TRUE(read(" "s + Id, Guid()) && !read("{}", Guid(Id)));
    const auto readVersion = [](const char* text) {
        ClassVersion version;
        XMLIChannel channel(Document("<ClassVersion>"s + text + "</ClassVersion>"), "Doc");
        return channel.ReadVersion(version) == 0 && version == ClassVersion(3, 255);
    };
    EXPECT_TRUE(readVersion("3.255") && !readVersion("3.256") && !readVersion("3") && !readVersion("3.255.1"));
}

TEST(XMLChannelTest, TextIsTakenAsXmlAsks) {
    const struct {
        const char* body;
        const char16_t* text;   // null: refused
    } cases[] = {
        {"<T/>", u""},
        {"<T a='>' b=\"&lt;\" > x </T >", u" x "},
        {"<T>a\r\nb\rc\r\r\n</T>", u"a\nb\nc\n\n"},
        {"<T>a<!-- - -->b<![CDATA[<&\\\\]]]]>&amp;&#x41;&#65;&quot;&apos;&lt;&gt;<?p x?>]] ></T>",
         u"ab<&\\]]&AA\"'<>]] >"},
        {"<T>\\u00e4\\uD83D\\uDE00</T>", u"\u00E4\U0001F600"},
        {"<T>&#92;\\</T>", u"\\"},
        {"<T>&nbsp;</T>", nullptr},
        {"<T>&#0;</T>", nullptr},
        {"<T>&#xD800;</T>", nullptr},
        {"<T>&#x110000;</T>", nullptr},
        {"<T>&#xFFFFFFFF41;</T>", nullptr},
        {"<T>&#;</T>", nullptr},
        {"<T>&</T>", nullptr},
        {"<T>]]></T>", nullptr},
        {"<T>C:\\temp</T>", nullptr},
        {"<T>\\u12</T>", nullptr},
        {"<T>\\</T>", nullptr},
        {"<T><b/></T>", nullptr},
    };
    for (const auto& c : cases) {
        XMLIChannel channel(Document(c.body), "Doc");
        UniString text = u"kept";
        EXPECT_EQ(channel.Read("T", text), c.text != nullptr ? 0 : ChannelStatus::Damaged) << c.body;
        EXPECT_EQ(text, c.text != nullptr ? c.text : u"kept") << c.body;
        XMLIChannel stepwise(Document(c.body), "Doc");
        stepwise.OpenTag("T");
        stepwise.ReadText(text);
        stepwise.CloseTag();
        EXPECT_EQ(stepwise.EndDocument() == 0, c.text != nullptr || "<T><b/></T>"s == c.body) << c.body;
    }
}

TEST(XMLChannelTest, DamageIsNamedWithItsPlace) {
    const struct {
        std::string document;
        const char* message;
    } cases[] = {
        {"", "Start tag \"Doc\" expected, line 1, column 1"},
        {"\xEF\xBB\xBF<?xml version='1.0' encoding=\"utf-8\" standalone='no'?><!--x--><Doc><T>x</T></Doc>\n<?p?>", ""},
        {"<?xml version='1.0'?>\r\n\r<Dock>", "Start tag \"Doc\" expected, line 3, column 1"},
        {"<?xml version='1.0' encoding='UTF-16'?><Doc/>", "Encoding UTF-8 expected, not \"UTF-16\", line 1, column 21"},
        {"<?xml encoding='UTF-8'?><Doc/>", "XML declaration is damaged, line 1, column 7"},
        {"<?xml version='2.0'?><Doc/>", "XML version 1 expected, not \"2.0\", line 1, column 7"},
        {" <?xml version='1.0'?><Doc/>", "Processing instruction is damaged, line 1, column 2"},
        {"<!DOCTYPE Doc [<!ENTITY a 'b'>]><Doc/>", "DOCTYPE is not allowed, line 1, column 1"},
        {"<Doc>\n\xC3\xA4\xC3\xA4\xC0</Doc>", "Character in UTF-8 expected that XML allows, line 2, column 3"},
        {"<Doc>\xEF\xBF\xBD\xEF\xBF\xBE</Doc>", "Character in UTF-8 expected that XML allows, line 1, column 7"},
        {"<Doc>\0</Doc>"s, "Character in UTF-8 expected that XML allows, line 1, column 6"},
        {"<Doc>", "Start tag \"T\" expected, line 1, column 6"},
        {"<Doc>\n <Tt/></Doc>", "Start tag \"T\" expected, line 2, column 2"},
        {"<Doc> x <T/></Doc>", "Start tag \"T\" expected, line 1, column 7"},
        {"<Doc><T a></T></Doc>", "Attribute expected, line 1, column 9"},
        {"<Doc><T a='&x;'/></Doc>", "Reference to a character expected, line 1, column 12"},
        {"<Doc><T>x</t></Doc>", "End tag \"T\" expected, line 1, column 10"},
        {"<Doc><T>x", "End tag \"T\" expected, line 1, column 10"},
        {"<Doc><T/><a><b></a></b></Doc>", "End tag \"b\" expected, line 1, column 16"},
        {"<Doc><T/><!-- -- --></Doc>", "Comment is not ended, line 1, column 10"},
        {"<Doc><T/><![CDATA[ ]]</Doc>", "CDATA section is not ended, line 1, column 10"},
        {"<Doc><T/><!DOCTYPE Doc></Doc>", "Start tag expected, line 1, column 10"},
        {"<Doc><T/>&x;</Doc>", "Text is damaged, line 1, column 10"},
        {"<Doc><T/></Doc><Doc/>", "End of document expected, line 1, column 16"},
        {"<Doc><T/></Doc>x", "End of document expected, line 1, column 16"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Outcome(c.document, ReadT), c.message) << c.document;
}

TEST(XMLChannelTest, DepthIsLimitedAndNeedsNoStack) {
    const std::size_t most = XMLIChannel::MaximalDepth - 1;   // without the root
    const auto nested = [](std::size_t depth) { return Document(Repeat("<T>", depth) + Repeat("</T>", depth)); };
    EXPECT_EQ(Outcome(nested(most), ReadNothing), "");
    EXPECT_EQ(Outcome(nested(most + 1), ReadNothing), "Elements are nested too deep, line 1, column 771");
    EXPECT_EQ(Outcome(Document(Repeat("<T>", 1'000'000)), ReadNothing),
              "Elements are nested too deep, line 1, column 771");
    const auto readDeep = [](XMLIChannel& channel) {
        while (channel.IsNextStartTag())
            channel.OpenTag("T");
        ReadT(channel);
    };
    EXPECT_EQ(Outcome(nested(most + 1), readDeep), "Elements are nested too deep, line 1, column 771");

    StringSink sink;
    XMLOChannel out(sink, "Doc");
    out.BeginDocument();
    for (std::size_t depth = 0; depth < most; ++depth)
        out.OpenTag("T");
    EXPECT_EQ(out.GetStatus(), 0);
    EXPECT_EQ(out.OpenTag("T"), ChannelStatus::TooLarge);
}

TEST(XMLChannelTest, ChildrenCanBeLookedAtAndSkipped) {
    XMLIChannel channel(Document("<A><B>x</B><A/> </A> <!--c--> <C/>rest"), "Doc");
    EXPECT_TRUE(channel.IsNextStartTag() && channel.IsNextTag("A") && !channel.IsNextTag("AA"));
    EXPECT_EQ(channel.OpenTag("A"), 0);
    EXPECT_EQ(channel.SkipElement(), 0);
    EXPECT_EQ(channel.OpenTag("A"), 0);
    EXPECT_FALSE(channel.IsNextStartTag());
    EXPECT_EQ(channel.CloseTag(), 0);
    EXPECT_FALSE(channel.IsNextStartTag());
    EXPECT_EQ(channel.CloseTag(), 0);
    EXPECT_TRUE(channel.IsNextTag("C"));
    EXPECT_EQ(channel.SkipElement(), 0);
    EXPECT_FALSE(channel.IsNextStartTag());
    EXPECT_EQ(channel.Fail(5, u"first"), 5);
    EXPECT_EQ(channel.OpenTag("A"), 5);
    EXPECT_EQ(channel.Fail(6, u"second"), 5);

    Kest::PlatformSign sign = Kest::PlatformSign::Unknown;
    EXPECT_FALSE(channel.GetProtocolPlatform(sign));
    channel.SetProtocolPlatform(Kest::PlatformSign::BigEndian);
    EXPECT_TRUE(channel.GetProtocolPlatform(sign) && sign == Kest::PlatformSign::BigEndian);
}

TEST(XMLChannelTest, HexadecimalDataIsExact) {
    const struct {
        const char* content;
        const char* bytes;   // null: refused
    } cases[] = {
        {"<![CDATA[616263]]>", "abc"},
        {" 6 1\r\n62\t6<!--x-->3 ", "abc"},
        {"<![CDATA[6A6]]>B<![CDATA[6c]]>", "jkl"},
        {"<![CDATA[6162]]>", nullptr},
        {"61626", nullptr},
        {"61626364", nullptr},
        {"6162636", nullptr},
        {"61626G", nullptr},
        {"6162&#54;3", nullptr},
        {"<![CDATA[616263", nullptr},
        {"6162<T/>63", nullptr},
    };
    for (const auto& c : cases) {
        XMLIChannel channel(Document(c.content), "Doc");
        std::string bytes(3, ' ');
        try {
            channel.ReadXMLCDATAHexToBin(bytes.data(), bytes.size());
            EXPECT_EQ(channel.GetStatus(), 0) << c.content;
            EXPECT_EQ(bytes, c.bytes != nullptr ? c.bytes : "refused") << c.content;
        } catch (const XMLIChannelException& exception) {
            EXPECT_EQ(c.bytes, nullptr) << c.content;
            EXPECT_NE(exception.GetMessage().ToCStr().find(", line 1, column "), std::string::npos) << c.content;
            EXPECT_EQ(channel.GetStatus(), ChannelStatus::Damaged);
            EXPECT_THROW(channel.ReadXMLCDATAHexToBin(bytes.data(), 0), XMLIChannelException);
        }
    }
    unsigned int size = 9;
    XMLIChannel lying(Document("<CDATASize>4000000000</CDATASize>00"), "Doc");
    EXPECT_EQ(lying.ReadCDATASize(size), ChannelStatus::Damaged);
    EXPECT_EQ(size, 9U);
}

TEST(XMLChannelTest, WrongCallsMakeNoDocument) {
    const struct {
        const char* what;
        void (*write)(XMLOChannel&);
    } cases[] = {
        {"an element before the document", [](XMLOChannel& out) { out.Write("A", 1); }},
        {"a second beginning", [](XMLOChannel& out) { out.BeginDocument(), out.BeginDocument(); }},
        {"no beginning", [](XMLOChannel&) {}},
        {"an open element", [](XMLOChannel& out) { out.BeginDocument(), out.OpenTag("A"); }},
        {"the root closed", [](XMLOChannel& out) { out.BeginDocument(), out.CloseTag(); }},
        {"no name", [](XMLOChannel& out) { out.BeginDocument(), out.OpenTag(""); }},
        {"a bad name", [](XMLOChannel& out) { out.BeginDocument(), out.Write("1 <", UniString(u"x")); }},
        {"a long name", [](XMLOChannel& out) { out.BeginDocument(), out.Write(std::string(1001, 'a').c_str(), 1); }},
    };
    for (const auto& c : cases) {
        StringSink sink;
        Array<UniString> messages;
        XMLOChannel out(sink, "Doc");
        out.SetMessages(&messages);
        c.write(out);
        EXPECT_EQ(out.EndDocument(), ChannelStatus::WrongCall) << c.what;
        EXPECT_EQ(messages.GetSize(), 1U) << c.what;
    }
    for (const bool closesRoot : {false, true}) {
        XMLIChannel in(Document("<A/>"), "Doc");
        EXPECT_EQ(closesRoot ? 0 : in.EndDocument(), 0);
        EXPECT_EQ(closesRoot ? in.CloseTag() : in.OpenTag("A"), ChannelStatus::WrongCall);
        EXPECT_FALSE(in.IsNextStartTag());
    }
}

TEST(XMLChannelTest, DocumentThatCannotBeWrittenIsNeverSaved) {
    struct FailingSink : StringSink {
        int Write(const char* bytes, std::size_t size) override {
            return calls++ == failing ? ChannelStatus::WriteFailed : StringSink::Write(bytes, size);
        }
        int Finish() override {
            isFinished = true;
            return calls++ == failing ? ChannelStatus::WriteFailed : 0;
        }
        int calls = 0;
        int failing = 0;
        bool isFinished = false;
    };
    Sample large = Full;
    large.bytes.assign(200'000, 'x');
    large.name = UniString(std::u16string(50'000, u'\1'));
    for (int failing = 0, calls = 1; failing <= calls; ++failing) {
        FailingSink sink;
        sink.failing = failing;
        XMLOChannel out(sink, "Doc");
        const int status = Write(large, out);
        calls = sink.calls;
        EXPECT_EQ(status, failing < calls ? ChannelStatus::WriteFailed : 0) << failing;
        EXPECT_TRUE(failing >= calls || !sink.isFinished || failing == calls - 1);
        Sample read;
        EXPECT_EQ(IsReadOrRefused(sink.GetText(), read) && read == large, sink.isFinished) << failing;
        EXPECT_GE(calls, failing < 5 ? 1 : 5);
    }
}

TEST(XMLChannelTest, DamageAnywhereIsReadOrRefused) {
    Sample small = Full;
    small.bytes.resize(3);
    StringSink sink;
    XMLOChannel channel(sink, "Doc");
    ASSERT_EQ(Write(small, channel), 0);
    const std::string document = sink.TakeText();
    const std::size_t whole = document.size() - 1;   // less the last line end
    Sample read;
    for (std::size_t size = 0; size < whole; ++size)
        EXPECT_FALSE(IsReadOrRefused(document.substr(0, size), read)) << size;
    int survived = 0;
    for (std::size_t at = 0; at < document.size(); ++at) {
        for (const char byte : "<>/&]\"!?-; A0\\\x80\xFF\r"s) {
            std::string damaged = document;
            damaged[at] = byte;
            survived += IsReadOrRefused(damaged, read) ? 1 : 0;
            Outcome(damaged, ReadNothing);
        }
    }
    EXPECT_GT(survived, 100);   // white space, letters of the texts
}

TEST(XMLChannelTest, LackOfMemoryIsACode) {
    std::string document;
    int status = 0;
    Array<UniString> messages;
    const auto write = [&] {
        status = ChannelStatus::MemoryFull;
        StringSink sink;
        XMLOChannel channel(sink, "AQuiteLongNameOfADocument");
        channel.SetMessages(&messages);
        status = Write(Full, channel);
        document = sink.TakeText();
    };
    const auto checkWritten = [&](bool failed) {
        EXPECT_EQ(status, failed ? ChannelStatus::MemoryFull : 0);
        messages = Array<UniString>();
    };
    EXPECT_GT(ForEachFailure(write, checkWritten).failures, 3U);

    Sample sample;
    const auto read = [&] {
        status = ChannelStatus::MemoryFull;
        sample = Sample();
        XMLIChannel channel(document, "AQuiteLongNameOfADocument");
        channel.SetMessages(&messages);
        Read(channel, sample);
        status = channel.EndDocument();
    };
    const auto checkRead = [&](bool failed) {
        EXPECT_EQ(status, failed ? ChannelStatus::MemoryFull : 0);
        EXPECT_TRUE(failed || sample == Full);
        messages = Array<UniString>();
    };
    EXPECT_GT(ForEachFailure(read, checkRead).failures, 3U);
}
