#include "IndexClashLog.hpp"

#include <Kest/Logger.hpp>

#include "AttributeIndexTables.hpp"
#include "LogCategory.hpp"

namespace ADB {

void LogCreatedIndexClash(const GeneralAttribute& attribute, const GeneralAttribute& holder) {
    static const Kest::ErrorLogLine line(
        "ADB::AttributeIndex::ObjectCreated - %s attribute index %d is already used by \"%T\"", LogCategory);
    line.Write(attribute.GetClassInfo()->GetName(), attribute.GetIndex(), holder.GetName());
}

void LogCreatedNameClash(const GeneralAttribute& attribute, const GeneralAttribute& holder) {
    static const Kest::ErrorLogLine line(
        "ADB::AttributeIndex::ObjectCreated - %s attribute name \"%T\" is already used by index %d", LogCategory);
    line.Write(attribute.GetClassInfo()->GetName(), attribute.GetName(), holder.GetIndex());
}

void LogModifiedIndexClash(const GeneralAttribute& attribute, const GeneralAttribute& holder) {
    static const Kest::ErrorLogLine line(
        "ADB::AttributeIndex::ObjectModified - %s attribute index %d is already used by \"%T\"", LogCategory);
    line.Write(attribute.GetClassInfo()->GetName(), attribute.GetIndex(), holder.GetName());
}

void LogModifiedNameClash(const GeneralAttribute& attribute, const GeneralAttribute& holder) {
    static const Kest::ErrorLogLine line(
        "ADB::AttributeIndex::ObjectModified - %s attribute name \"%T\" is already used by index %d", LogCategory);
    line.Write(attribute.GetClassInfo()->GetName(), attribute.GetName(), holder.GetIndex());
}

void LogIfOther(LogClash log, const ODB::ObjectInfo& record, const ODB::ObjectInfo* holder) {
    if (holder != nullptr && holder != &record && holder->IsAlive())
        log(AttributeOf(record), AttributeOf(*holder));
}

}   // namespace ADB
