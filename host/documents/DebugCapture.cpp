#include "DebugCapture.hpp"

#include <Kest/DebugOutput.hpp>

namespace Host {

DebugCapture::DebugCapture() {
    DBSetSink([this](const Kest::UniString& text) { texts.Push(text); });
}

DebugCapture::~DebugCapture() {
    DBSetSink(DBSink());
}

}   // namespace Host
