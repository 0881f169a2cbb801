#pragma once

#include "tarn/I_Unknown.h"
#include "tarn/String.h"
#include "tarn/smart_ptr.h"

namespace tarn {

// Where a file, a folder, an in-memory database or a remote database is. Immutable: the path is
// fixed when the location is made, the answers about the file system are of the moment.
class LSHARED_API I_Location : public I_Unknown {
 public:
  // The path as it was given.
  virtual String get_Path() const = 0;

  // What tells two locations apart: the canonical path with links resolved (as far as the path
  // exists), for ":memory:" a text of its own per location object, for a remote path (it has a
  // scheme) the path itself. Hard links are different paths and have different keys.
  virtual String get_Key() const = 0;

  // The last part of the path ("orders.duckdb"), without a trailing slash.
  virtual String get_Name() const = 0;

  // A file or folder is there. Asks the file system for its status only and never opens it.
  // False for in-memory and remote locations.
  virtual bool get_Exists() const = 0;
  virtual bool get_IsFolder() const = 0;

  virtual bool get_IsInMemory() const = 0;
  virtual bool get_IsRemote() const = 0;

  // The folder that holds this location; for a path without a folder part the current folder.
  // Null for in-memory and remote locations.
  virtual smart_ptr<I_Location> get_Folder() const = 0;

  // The location of that name inside this folder; null for in-memory locations.
  virtual smart_ptr<I_Location> get_Child(String const& inName) const = 0;
};

// A folder; offered (number 402) by the locations that are a folder or do not exist.
class LSHARED_API I_Folder : public I_Unknown {
 public:
  virtual bool get_Exists() const = 0;  // it is there and is a folder
  virtual void Create() = 0;            // with its parents; nothing when it is there
};

// A new location for a path; a relative one is resolved against the current folder of the moment
// it is used. A path with a scheme of two letters or more ("md:", "https://") is remote; ":memory:"
// is in-memory. Error xException 0x66000 with texts ("Path is empty").
LSHARED_API smart_ptr<I_Location> CreateLocation(String const& inPath);

// Makes the sub-folder (UTF-8, a trailing slash allowed) of a folder if need be, parents included,
// and returns its location. Error xException 0x66001, texts (path, the system's message).
LSHARED_API smart_ptr<I_Location> PrepareFolder(smart_ptr<I_Location> inFolder,
                                                char const* inSubFolder);

}  // namespace tarn
