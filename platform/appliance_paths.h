#pragma once

/// Every absolute path of the appliance, each with the root that the build was given in front
/// (none in the installed program, "." in the tests and the demo, which run in scratch folders).
/// The only unit that knows the root is appliance_paths.cpp, so that one set of objects serves all.
namespace qsvmon {

extern const char* const kLogSocketPath;     ///< the log daemon's stream socket (group A)
extern const char* const kMgmtSocketPath;    ///< the management daemon's stream socket (group B)
extern const char* const kDictLibraryPath;   ///< the application dictionary library
extern const char* const kMainConfigPath;    ///< descriptions, categories, custom ranges
extern const char* const kAssetsConfigPath;  ///< asset groups and objects
extern const char* const kCsvFolder;         ///< where downloads are written; ends in "/"

}  // namespace qsvmon
