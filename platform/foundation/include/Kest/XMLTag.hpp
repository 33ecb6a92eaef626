#pragma once

#include <Kest/XMLIChannel.hpp>
#include <Kest/XMLOChannel.hpp>

namespace Kest {

/// Keeps an element open for a scope: XMLTag on a channel that writes, XMLITag on one that reads. The channel must
/// outlive it, and tags end in the reverse order of their beginning.
template <class Channel>
class XMLScopedTag {
public:
    /// Opens \p name; GetStatus tells whether that worked.
    XMLScopedTag(Channel& newChannel, XMLName name) noexcept
        : channel(newChannel),
          isOpen(newChannel.OpenTag(name) == 0) {}
    ~XMLScopedTag() { Close(); }
    XMLScopedTag(const XMLScopedTag&) = delete;
    XMLScopedTag& operator=(const XMLScopedTag&) = delete;

    /// Closes the element, unless that has been done. \returns the channel's status.
    int Close() noexcept {
        if (isOpen)
            channel.CloseTag();
        isOpen = false;
        return channel.GetStatus();
    }

    /// The channel's status.
    int GetStatus() const noexcept { return channel.GetStatus(); }

private:
    Channel& channel;
    bool isOpen;
};

class XMLTag : public XMLScopedTag<XMLOChannel> {
public:
    using XMLScopedTag::XMLScopedTag;
};

class XMLITag : public XMLScopedTag<XMLIChannel> {
public:
    using XMLScopedTag::XMLScopedTag;
};

}   // namespace Kest
