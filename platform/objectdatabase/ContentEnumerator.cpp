#include <ODB/ContentEnumerator.hpp>

namespace ODB {

ContentEnumerator::~ContentEnumerator() = default;

void ContentEnumerator::NewObjectFound(const Kest::Guid&, const Id&, IdSpace*, const char*, std::size_t) {}

void ContentEnumerator::ModifiedObjectFound(const Kest::Guid&, const Id&, IdSpace*, const char*, std::size_t) {}

void ContentEnumerator::DeletedObjectFound(const Kest::Guid&, const Id&, IdSpace*) {}

void ContentEnumerator::NewLinkFound(const Association1NUntyped&, const Id&, const Id&) {}

void ContentEnumerator::ModifiedLinkFound(const Association1NUntyped&, const Id&, const Id&) {}

void ContentEnumerator::ReorderedLinkFound(const Association1NUntyped&, const Id&, const Id&, const Id&) {}

void ContentEnumerator::DeletedLinkFound(const Association1NUntyped&, const Id&, const Id&) {}

void ContentEnumerator::ControlObjectFound(const Id&, IdSpace*) {}

}   // namespace ODB
