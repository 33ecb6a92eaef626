#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include <boost/intrusive_ptr.hpp>
#include <boost/multi_index/hashed_index.hpp>
#include <boost/multi_index/mem_fun.hpp>
#include <boost/multi_index/tag.hpp>
#include <boost/multi_index_container.hpp>

/// What our container is measured against: the container that a good engineer writes by hand with Boost.MultiIndex when
/// nothing but the same duties is asked for. It has no ids, deltas, states or events beyond the rename.
namespace Baseline {

class Item;

/// Is told of renames.
class Observer {
public:
    virtual ~Observer() = default;
    virtual void Renamed(const Item& item, const std::u16string& oldName) = 0;
};

/// An atomically counted object with the general fields of an attribute.
class Item {
public:
    Item() = default;
    explicit Item(std::u16string_view itemName) { TakeName(std::u16string(itemName)); }
    virtual ~Item() = default;
    Item& operator=(const Item&) = delete;
    virtual Item* Clone() const { return new Item(*this); }

    const std::u16string& GetName() const { return name; }
    std::u16string_view GetUpperName() const { return upperName; }
    short GetIndex() const { return index; }

protected:
    /// A copy starts without references and observer.
    Item(const Item& other)
        : index(other.index),
          flags(other.flags),
          modificationTime(other.modificationTime),
          name(other.name),
          upperName(other.upperName),
          memo(other.memo) {}

private:
    friend class Container;
    friend void intrusive_ptr_add_ref(const Item* item) { item->references.fetch_add(1, std::memory_order_relaxed); }
    friend void intrusive_ptr_release(const Item* item) {
        if (item->references.fetch_sub(1, std::memory_order_acq_rel) == 1)
            delete item;
    }

    void TakeName(std::u16string newName);

    mutable std::atomic<unsigned> references = 0;
    short index = 0;
    short flags = 0;
    int modificationTime = 0;
    std::u16string name;
    std::u16string upperName;
    void* memo = nullptr;
    Observer* observer = nullptr;
};

using ItemRef = boost::intrusive_ptr<Item>;
using ConstItemRef = boost::intrusive_ptr<const Item>;

/// Which of the indexes 1 to 32766 are taken.
class IndexPool {
public:
    /// The lowest free index, 0 when there is none.
    short FindFree();
    void Take(short index);
    void Free(short index);

private:
    static constexpr std::size_t Last = 32766;
    static constexpr std::size_t WordBits = 64;

    std::array<std::uint64_t, Last / WordBits + 1> taken{1};   // 0 is never free
    std::size_t firstMaybeFree = 0;                            // all words before it are full
};

/// Items found by index and by name, letter case ignored; both are unique.
class Container : private Observer {
public:
    Container() = default;
    /// Copies the items.
    Container(const Container& other);
    Container& operator=(const Container&) = delete;

    ConstItemRef Find(short index) const;
    ConstItemRef Find(std::u16string_view name) const;
    std::size_t GetSize() const { return items.size(); }

    /// Stores a clone of \p source, dated now, under the lowest free index and its name, or, when that is taken,
    /// "name (1)", "name (2)", ... \returns the clone, null when no index is free
    ItemRef Add(const Item& source);
    /// \returns false, with nothing changed, when another item has the name
    bool Rename(Item& item, std::u16string_view newName);
    /// \returns false, with nothing changed, when another item has the index
    bool Renumber(Item& item, short newIndex);
    bool Delete(short index);
    short FindFreeIndex() { return indexes.FindFree(); }

    /// Calls \p call with each item, sorted by upper-case name or by index.
    void EnumerateByName(const std::function<void(const ConstItemRef&)>& call) const;
    void EnumerateByIndex(const std::function<void(const ConstItemRef&)>& call) const;

private:
    struct ByIndex {};
    struct ByName {};
    using Items = boost::multi_index_container<
        ItemRef, boost::multi_index::indexed_by<
                     boost::multi_index::hashed_unique<boost::multi_index::tag<ByIndex>,
                                                       boost::multi_index::const_mem_fun<Item, short, &Item::GetIndex>>,
                     boost::multi_index::hashed_unique<
                         boost::multi_index::tag<ByName>,
                         boost::multi_index::const_mem_fun<Item, std::u16string_view, &Item::GetUpperName>,
                         std::hash<std::u16string_view>>>>;

    void Renamed(const Item& item, const std::u16string& oldName) override;
    bool IsNameTaken(std::u16string_view name) const;
    std::u16string MakeUniqueName(const std::u16string& base);
    void ForgetNumber(std::u16string_view name);
    std::vector<const Item*> GetAll() const;

    Items items;
    IndexPool indexes;
    // By upper-case stem: all names "stem (1)" up to the one before this number are taken.
    std::unordered_map<std::u16string, unsigned> firstMaybeFreeNumber;
    std::uint64_t changes = 0;
};

}   // namespace Baseline
