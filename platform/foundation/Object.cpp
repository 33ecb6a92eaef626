#include <Kest/Object.hpp>

#include <Kest/ClassManager.hpp>
#include <Kest/DebugOutput.hpp>
#include <Kest/MemoryChannels.hpp>

namespace Kest {
namespace {

constexpr int InvalidObject = -7003;

}   // namespace

Object::~Object() = default;

bool Object::IsValid() const {
    return true;
}

bool Object::IsInstanceOf(const ClassInfo& info) const {
    return IsValid() && GetClassInfo()->IsCompatibleWith(info);
}

const ClassInfo* Object::GetClassInfoStatic() {
    static const ClassInfo info("Kest::Object", Guid("{5D8E5A56-3A4B-4C55-8B0E-51C8A2B5E701}"), ClassVersion(1, 0),
                                nullptr);
    return &info;
}

const ClassInfo* Object::GetClassInfo() const {
    return GetClassInfoStatic();
}

int Object::Read(IChannel& channel) {
    return channel.GetStatus();
}

int Object::Write(OChannel& channel) const {
    return channel.GetStatus();
}

int Object::Store(ObjectState& state) const {
    const ClassManager::OutputVersionBlock current(0);
    MemoryOChannel channel;
    if (const int status = Write(channel); status != 0)
        return status;
    state.size = channel.GetSize();
    state.bytes = channel.TakeBytes();
    return 0;
}

int Object::Restore(const ObjectState& state) {
    MemoryIChannel channel(state.bytes.get(), state.size);
    return Read(channel);
}

void Object::Print() const {
    DBPrintf("%s\n", GetClassInfo()->GetName());
}

void Object::Dump() const {
    Print();
}

int Object::CheckState() const {
    return IsValid() ? 0 : InvalidObject;
}

}   // namespace Kest
