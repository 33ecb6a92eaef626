#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <Kest/Guid.hpp>

#include <ODB/Ref.hpp>

#include <AttributeManager/AttributeSet.hpp>

namespace Host {

/// Whether \p path is to be read as a folder of documents: it is a folder, or the main document of one.
bool IsDocumentFolder(const std::string& path);

/// The id of the set whose documents are in the folder \p path; null when there are none, or those of a store.
/// \throws std::bad_alloc
Kest::Guid FindStoredSetId(const std::string& path);

/// Whether \p bytes, of a whole file, are those of a store.
bool BeginsLikeStore(std::string_view bytes);

/// Reads a folder of documents, of a set or of a store, in place of the attributes of \p set; its fills too, when the
/// documents have them. What is not brought in as it was stored is noted in the read report in force.
/// \param path  UTF-8, a folder or the main document in it
/// \param notes  lines for the user are added to it
/// \throws Failure when there are no documents, or they cannot be read; the set may hold a part of them then
void ReadDocuments(const std::string& path, const ODB::Ref<ADB::AttributeSet>& set, std::vector<std::string>& notes);

/// Reads the store \p bytes, otherwise as above. \param path for messages
void ReadStore(const std::string& path, std::string_view bytes, const ODB::Ref<ADB::AttributeSet>& set);

}   // namespace Host
