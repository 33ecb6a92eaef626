#pragma once

#include <memory>
#include <utility>

#include <Kest/Guid.hpp>

#include <ODB/IdSpace.hpp>

#include <AttributeManager/AttributeManager.hpp>
#include <AttributeManager/AttributeTypeSet.hpp>

namespace ADB {

/// A working set, which is disposed with the last type set that works in it.
class AttributeTypeSet::Workplace {
public:
    /// \param idSpace where the set lives; null means the default space. The set is a null reference when it cannot be
    /// made
    explicit Workplace(std::shared_ptr<ODB::IdSpace> idSpace)
        : space(std::move(idSpace)),
          set(CreateAttributeSet(space.get(), Kest::Guid(), false)) {}
    ~Workplace() { DisposeAttributeSet(set); }
    Workplace(const Workplace&) = delete;
    Workplace& operator=(const Workplace&) = delete;

    const std::shared_ptr<ODB::IdSpace>& GetIdSpace() const noexcept { return space; }
    const ODB::Ref<AttributeSet>& GetSet() const noexcept { return set; }

private:
    const std::shared_ptr<ODB::IdSpace> space;   // goes after the set
    const ODB::Ref<AttributeSet> set;
};

/// Lets an operation know whether somebody whom it told of something has destroyed the type set.
class AttributeTypeSet::Watch {
public:
    explicit Watch(AttributeTypeSet& watched) noexcept
        : typeSet(&watched),
          outer(std::exchange(watched.watches, this)) {}
    ~Watch() {
        if (typeSet != nullptr)
            typeSet->watches = outer;
    }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    /// Whether the type set is gone.
    bool IsOver() const noexcept { return typeSet == nullptr; }

private:
    friend class AttributeTypeSet;

    AttributeTypeSet* typeSet;
    Watch* outer;
};

}   // namespace ADB
