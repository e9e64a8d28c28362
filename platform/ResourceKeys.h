#pragma once
// Names of the resource values of an item (URLResourceService) and of the
// values that some of them take.

namespace velune::platform::resource_keys {

inline constexpr const char* Name = "NameKey";
inline constexpr const char* LocalizedName = "LocalizedNameKey";
inline constexpr const char* TypeIdentifier = "TypeIdentifierKey";
inline constexpr const char* LocalizedTypeDescription = "LocalizedTypeDescriptionKey";
inline constexpr const char* FileSize = "FileSizeKey";
inline constexpr const char* CreationDate = "CreationDateKey";
inline constexpr const char* ContentModificationDate = "ContentModificationDateKey";
inline constexpr const char* IsDirectory = "IsDirectoryKey";
inline constexpr const char* IsPackage = "IsPackageKey";
inline constexpr const char* HasHiddenExtension = "HasHiddenExtensionKey";
inline constexpr const char* ParentDirectoryURL = "ParentDirectoryURLKey";
inline constexpr const char* IsShared = "UbiquitousItemIsSharedKey";
inline constexpr const char* SharedItemRole = "UbiquitousSharedItemCurrentUserRoleKey";
inline constexpr const char* DownloadingStatus = "UbiquitousItemDownloadingStatusKey";
// The thumbnails of an item: a dictionary of sizes to images.
inline constexpr const char* ThumbnailDictionary = "ThumbnailDictionaryKey";

}  // namespace velune::platform::resource_keys

namespace velune::platform {

// Values of the shared-item role and downloading-status keys.
inline constexpr const char* kSharedItemRoleOwner = "SharedItemRoleOwner";
inline constexpr const char* kSharedItemRoleParticipant = "SharedItemRoleParticipant";
inline constexpr const char* kDownloadingStatusNotDownloaded = "DownloadingStatusNotDownloaded";
inline constexpr const char* kDownloadingStatusDownloaded = "DownloadingStatusDownloaded";
inline constexpr const char* kDownloadingStatusCurrent = "DownloadingStatusCurrent";
// The key of the 1024×1024 thumbnail in a thumbnail dictionary.
inline constexpr const char* kThumbnail1024x1024SizeKey = "1024x1024";

}  // namespace velune::platform
