#pragma once

#include <memory>

#include <Kest/Guid.hpp>

#include <ODB/IdSpace.hpp>
#include <ODB/Ref.hpp>

#include <AttributeManager/AttributeSet.hpp>
#include <AttributeManager/IAttributeRegister.hpp>
#include <AttributeManager/ISortRuleTable.hpp>

namespace Host {

/// The library in use: from its making to its end all kinds are registered, the rules of SortRules.hpp hold and there
/// is one document, the current attribute set. The library's state is the process's own: one session at a time.
class Session {
public:
    /// \param setId  the id wanted for the document; null for a fresh one
    /// \throws std::bad_alloc
    explicit Session(const Kest::Guid& setId = Kest::Guid());
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// The document.
    const ODB::Ref<ADB::AttributeSet>& GetSet() const noexcept { return set; }

private:
    void Close() noexcept;

    ADB::IAttributeRegister* kinds = nullptr;
    ADB::ISortRuleTable* sortRules = nullptr;
    ODB::Ref<ADB::AttributeSet> set;
};

/// An attribute set beside the document, empty at first, that lives as long as this.
class ScratchSet {
public:
    /// Where its objects live: with the document's, or by themselves, where they can have the ids of the document's.
    enum Space { SharedSpace, OwnSpace };

    /// \throws std::bad_alloc
    explicit ScratchSet(Space space = SharedSpace);
    ~ScratchSet();
    ScratchSet(const ScratchSet&) = delete;
    ScratchSet& operator=(const ScratchSet&) = delete;

    const ODB::Ref<ADB::AttributeSet>& GetSet() const noexcept { return set; }

private:
    std::unique_ptr<ODB::IdSpace> ownSpace;
    ODB::Ref<ADB::AttributeSet> set;
};

/// The type id of the kind with ref id \p refId in the register of the session.
short TypeIdOf(unsigned int refId);

}   // namespace Host
