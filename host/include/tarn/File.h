#pragma once

#include "tarn/I_Unknown.h"
#include "tarn/Location.h"
#include "tarn/smart_ptr.h"

// The Windows headers define this name as a macro.
#if defined(_WIN32)
#undef CreateFile
#endif

namespace tarn {

// One file on disk. Operations that fail throw xException 0x66001 with texts (path, the system's
// message). Not synchronised.
//
// Hazard: on POSIX, closing any descriptor of a file drops every record lock that this process
// holds on it. Never open a file that another library of this process holds locked.
class LSHARED_API File : public I_Unknown {
 public:
  virtual void put_Location(smart_ptr<I_Location> inLocation) = 0;
  virtual smart_ptr<I_Location> get_Location() const = 0;
  virtual void OpenForRead() = 0;
  // Makes the file, or empties the one that is there, for writing.
  virtual void Create() = 0;
  virtual bool get_IsOpen() const = 0;
  virtual std::uint64_t get_Length() const = 0;
  // Reads up to inSize bytes at an offset and returns how many there were.
  virtual std::uint32_t ReadAt(std::uint64_t inOffset, void* outBytes, std::uint32_t inSize) = 0;
  // Writes all bytes at an offset.
  virtual void WriteAt(std::uint64_t inOffset, void const* inBytes, std::uint32_t inSize) = 0;
  virtual void Flush() = 0;  // to the disk
  virtual void Close() = 0;  // nothing when it is closed; never throws
  // Removes the file without opening it; a file that is not there is no error, a folder is one.
  virtual void Delete() = 0;
};

// The implementation of File. Destruction closes it.
class LSHARED_API FileWin final : public File {
 public:
  FileWin();
  ~FileWin() override;
  FileWin(FileWin const&) = delete;
  FileWin& operator=(FileWin const&) = delete;

  std::uint32_t AddRef() override;
  std::uint32_t Release() override;
  void* QueryInterface(std::uint32_t inInterfaceId) override;
  std::uint32_t get_RefsCount() const override;

  void put_Location(smart_ptr<I_Location> inLocation) override;
  smart_ptr<I_Location> get_Location() const override;
  void OpenForRead() override;
  void Create() override;
  bool get_IsOpen() const override;
  std::uint64_t get_Length() const override;
  std::uint32_t ReadAt(std::uint64_t inOffset, void* outBytes, std::uint32_t inSize) override;
  void WriteAt(std::uint64_t inOffset, void const* inBytes, std::uint32_t inSize) override;
  void Flush() override;
  void Close() override;
  void Delete() override;

 private:
  RefsCount mRefCount;
  smart_ptr<I_Location> mLocation;
  std::intptr_t mDescriptor = -1;
};

// A closed file object for a location.
LSHARED_API smart_ptr<File> CreateFile(smart_ptr<I_Location> inLocation);

}  // namespace tarn
