#pragma once

#include <string>

namespace Host {

/// A form in which a whole set can be written: the streams of a store by their version, and XML documents. The numbers
/// are those of the systems that read the streams.
enum class SetForm : int { Xml = 0, Stream1 = 1, Stream2 = 2, Stream3 = 3, Stream4 = 4 };

/// The form that stores have unless another one is asked for.
inline constexpr SetForm CurrentStream = SetForm::Stream4;

/// "XML", "stream version 3".
std::string NameOf(SetForm form);

/// Whether \p form leaves out the attributes of the kind with ref id \p refId.
bool LeavesOut(SetForm form, unsigned int refId) noexcept;

/// What the user asks to be written at \p path: a store when the name ends in ".zas", letter case ignored, else
/// documents, for which \p path is a folder.
bool IsStorePath(const std::string& path);

}   // namespace Host
