// The general part of an attribute as XML.
#include <Kest/XMLIChannel.hpp>
#include <Kest/XMLOChannel.hpp>

#include "FrameTree.hpp"
#include "FuzzTarget.hpp"
#include "Stickers.hpp"

namespace Fuzz {
namespace {

std::string Write(const Sticker& sticker) {
    Kest::StringSink sink;
    Kest::XMLOChannel channel(sink, "Sticker");
    channel.BeginDocument();
    sticker.WriteXML(channel);
    Require(channel.EndDocument() == 0, "an attribute could not be written");
    return sink.TakeText();
}

int Read(Sticker& sticker, const std::string& document) {
    Kest::XMLIChannel channel(document, "Sticker");
    return sticker.ReadXML(channel);
}

void Run(Bytes bytes) {
    Sticker sticker;
    Fill(sticker, "Wall\x01\\ <&", 7);
    const std::string before = Write(sticker);
    Sticker emptied(sticker);
    emptied.Destruct();
    try {
        if (Read(sticker, MakeText(bytes, {before})) != 0)
            Require(Write(sticker) == Write(emptied), "a failed read changed more than the user data");
    } catch (const KestXML::XMLIChannelException&) {   // no such document
    }
    const std::string written = Write(sticker);
    Sticker copy;
    Require(Read(copy, written) == 0 && Write(copy) == written, "reading back gives another content");
}

const Registration registration("AttributeXml", Run);

}   // namespace
}   // namespace Fuzz
