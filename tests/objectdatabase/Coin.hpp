#pragma once

#include <cstddef>
#include <string>

#include <Kest/Frames.hpp>
#include <Kest/MemoryChannels.hpp>

#include "TestObjects.hpp"

/// A thing that can be written: its number travels in all binary forms.
class Coin : public Thing {
public:
    using Thing::Thing;

    Coin* Clone() const override { return new Coin(*this); }
    const Kest::ClassInfo* GetClassInfo() const override { return GetClassInfoStatic(); }
    /// Systems of version 3 understand version 0.5.
    static const Kest::ClassInfo* GetClassInfoStatic() {
        static const Kest::ClassInfo info("Test::Coin", Kest::Guid("{D1E5C0DE-0000-4000-8000-000000000002}"),
                                          Kest::ClassVersion(1, 0), Thing::GetClassInfoStatic(), {},
                                          []() -> Kest::Object* { return new Coin; }, {{3, Kest::ClassVersion(0, 5)}});
        return &info;
    }

    int Write(Kest::OChannel& channel) const override { return WriteIsolatedState(channel); }
    int Read(Kest::IChannel& channel) override { return ReadIsolatedState(channel); }
    int WriteIsolatedState(Kest::OChannel& channel) const override {
        if (const int status = Thing::WriteIsolatedState(channel); status != 0)
            return status;
        Kest::OutputFrame frame(channel, *GetClassInfoStatic());
        channel.Write(number);
        return frame.Close();
    }
    int ReadIsolatedState(Kest::IChannel& channel) override {
        if (const int status = Thing::ReadIsolatedState(channel); status != 0)
            return status;
        Kest::InputFrame frame(channel, *GetClassInfoStatic());
        channel.Read(number);
        return frame.Close();
    }
    int WriteContentForIdGeneration(Kest::OChannel& channel) const override {
        Thing::WriteContentForIdGeneration(channel);
        return channel.Write(number);
    }

    /// A coin of the database with an id that goes with its number.
    static ThingRef MakeIn(ODB::IdSpace& target, int number) {
        ThingRef coin(new Coin(number));
        coin.Init(IdOf(number), &target);
        ODB::Database::AddObject(coin, false);
        return coin;
    }
};

inline std::string BytesOf(const Kest::MemoryOChannel& channel) {
    return {channel.GetBytes(), channel.GetSize()};
}

/// What \p write writes into a channel of a little-endian system.
template <class Write>
std::string Written(Write&& write) {
    Kest::MemoryOChannel channel;
    channel.SetProtocolPlatform(Kest::PlatformSign::LittleEndian);
    write(channel);
    return BytesOf(channel);
}

/// Two digits a byte.
inline std::string HexOf(const std::string& bytes) {
    std::string hex;
    for (const char byte : bytes)
        for (const int shift : {4, 0})
            hex += "0123456789ABCDEF"[static_cast<unsigned char>(byte) >> shift & 15];
    return hex;
}
