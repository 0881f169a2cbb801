#include "tarn/Location.h"

#include <atomic>
#include <filesystem>
#include <utility>

#include "CanonicalPath.h"
#include "FileError.h"
#include "Platform.h"
#include "tarn/Array.h"
#include "tarn/Exceptions.h"

namespace tarn {
namespace {

namespace fs = std::filesystem;
using View = std::basic_string_view<WChar>;

constexpr View kInMemoryPath = TARN_W(":memory:");

enum class LocationKind { kFile, kInMemory, kRemote };

bool IsLetter(WChar inUnit) noexcept {
  return (inUnit >= u'a' && inUnit <= u'z') || (inUnit >= u'A' && inUnit <= u'Z');
}

// The length of the path's scheme with its colon; 0 when it has none. One letter is a drive.
std::size_t SchemeLength(View inPath) noexcept {
  std::size_t length = 0;
  for (WChar const unit : inPath) {
    bool const isOther =
        (unit >= u'0' && unit <= u'9') || unit == u'+' || unit == u'-' || unit == u'.';
    if (!IsLetter(unit) && (length == 0 || !isOther)) break;
    ++length;
  }
  bool const isScheme = length >= 2 && length < inPath.size() && inPath[length] == u':';
  return isScheme ? length + 1 : 0;
}

LocationKind KindOf(View inPath) noexcept {
  if (inPath == kInMemoryPath) return LocationKind::kInMemory;
  return SchemeLength(inPath) != 0 ? LocationKind::kRemote : LocationKind::kFile;
}

String Text(View inText) { return String(inText.data(), static_cast<std::int32_t>(inText.size())); }

// Without the separators at the end; a root stays.
View TrimSeparators(View inPath) {
  std::size_t const root = platform::ToPath(Text(inPath)).root_path().native().size();
  while (inPath.size() > 1 && inPath.size() > root && platform::IsSeparator(inPath.back())) {
    inPath.remove_suffix(1);
  }
  return inPath;
}

// Where the last part of a path begins.
std::size_t NameStart(View inPath) noexcept {
  std::size_t start = inPath.size();
  while (start > 0 && !platform::IsSeparator(inPath[start - 1])) --start;
  return start;
}

String NextInMemoryKey() {
  static std::atomic<std::uint64_t> counter{0};
  String key(kInMemoryPath.data());
  key << "#" << counter.fetch_add(1);
  return key;
}

// Both interfaces ask get_Exists, and mean different things.
class LocationFace : public I_Location {
 public:
  bool get_Exists() const final { return get_ItemExists(); }

 protected:
  virtual bool get_ItemExists() const = 0;
};

class FolderFace : public I_Folder {
 public:
  bool get_Exists() const final { return get_FolderExists(); }

 protected:
  virtual bool get_FolderExists() const = 0;
};

class Location final : public LocationFace, public FolderFace {
 public:
  explicit Location(String const& inPath) : mPath(inPath), mKind(KindOf(inPath.view())) {
    if (mKind == LocationKind::kInMemory) mKey = NextInMemoryKey();
    if (mKind == LocationKind::kRemote) mKey = mPath;
  }

  std::uint32_t AddRef() override { return mRefCount.Increment(); }
  std::uint32_t Release() override {
    std::uint32_t const count = mRefCount.Decrement();
    if (count == 0) delete this;
    return count;
  }
  std::uint32_t get_RefsCount() const override { return mRefCount.get(); }
  void* QueryInterface(std::uint32_t inInterfaceId) override {
    static INTERFACE_ITEM const kTable[] = {
        {kIID_Unknown, 0}, {kIID_Folder, InterfaceDistance<I_Folder>(this)}, {0, 0}};
    if (inInterfaceId == kIID_Folder && !CanBeFolder()) return nullptr;
    return InterfaceTableQueryInterface(this, inInterfaceId, kTable);
  }

  String get_Path() const override { return mPath; }

  String get_Key() const override {
    if (mKind != LocationKind::kFile) return mKey;
    platform::path const path = platform::ToPath(mPath);
    return path.empty() ? mPath : platform::FromPath(CanonicalPath(path));
  }

  String get_Name() const override {
    View path = mPath.view();
    if (mKind == LocationKind::kInMemory) return mPath;
    if (mKind == LocationKind::kRemote) path.remove_prefix(SchemeLength(path));
    path = TrimSeparators(path);
    View const name = path.substr(NameStart(path));
    return Text(name.empty() ? path : name);
  }

  bool get_IsFolder() const override { return fs::is_directory(Status()); }
  bool get_IsInMemory() const override { return mKind == LocationKind::kInMemory; }
  bool get_IsRemote() const override { return mKind == LocationKind::kRemote; }

  smart_ptr<I_Location> get_Folder() const override;
  smart_ptr<I_Location> get_Child(String const& inName) const override;

  void Create() override {
    if (mKind != LocationKind::kFile) ThrowFileError(mPath, "Location is not a folder");
    platform::path const path = platform::ToPath(mPath);
    if (path.empty()) ThrowFileError(mPath, "Location is not a valid path");
    std::error_code error;
    fs::create_directories(path, error);
    // A file of that name is no error to create_directories everywhere.
    if (!error && !get_IsFolder()) error = std::make_error_code(std::errc::not_a_directory);
    CheckFileError(mPath, error);
  }

 private:
  bool get_ItemExists() const override { return fs::exists(Status()); }
  bool get_FolderExists() const override { return get_IsFolder(); }

  fs::file_status Status() const {
    if (mKind != LocationKind::kFile) return fs::file_status(fs::file_type::not_found);
    platform::path const path = platform::ToPath(mPath);
    std::error_code error;
    return path.empty() ? fs::file_status(fs::file_type::not_found) : fs::status(path, error);
  }

  bool CanBeFolder() const {
    if (mKind != LocationKind::kFile) return false;
    fs::file_status const status = Status();
    return fs::is_directory(status) || !fs::exists(status);
  }

  RefsCount mRefCount;
  String const mPath;
  LocationKind const mKind;
  String mKey;  // of a location that is no file
};

smart_ptr<I_Location> CurrentFolder() {
  std::error_code error;
  platform::path const folder = fs::current_path(error);
  return CreateLocation(error ? String(".") : platform::FromPath(folder));
}

smart_ptr<I_Location> Location::get_Folder() const {
  if (mKind != LocationKind::kFile) return {};
  View const path = TrimSeparators(mPath.view());
  std::size_t const start = NameStart(path);
  View const name = path.substr(start);
  if (name.empty()) return CreateLocation(Text(path));  // a root is its own folder
  if (name == TARN_W(".") || name == TARN_W("..")) return get_Child(String(".."));
  if (start == 0) return CurrentFolder();
  return CreateLocation(Text(TrimSeparators(path.substr(0, start))));
}

smart_ptr<I_Location> Location::get_Child(String const& inName) const {
  if (mKind == LocationKind::kInMemory) return {};
  String path = mPath;
  if (!platform::IsSeparator(path.view().back())) path += "/";
  path += inName;
  return CreateLocation(path);
}

}  // namespace

smart_ptr<I_Location> CreateLocation(String const& inPath) {
  if (inPath.isEmpty()) throw xException(kErrorBadArgument, "Path is empty");
  return smart_ptr<I_Location>(new Location(inPath));
}

smart_ptr<I_Location> PrepareFolder(smart_ptr<I_Location> inFolder, char const* inSubFolder) {
  if (!inFolder) throw xException(kErrorBadArgument, "Path is empty");
  String const subFolder(inSubFolder);
  View const name = TrimSeparators(subFolder.view());
  smart_ptr<I_Location> const folder =
      name.empty() ? std::move(inFolder) : inFolder->get_Child(Text(name));
  auto const view = query_interface<I_Folder>(folder.get(), kIID_Folder);
  if (!view) ThrowFileError(folder ? folder->get_Path() : String(), "Location is not a folder");
  view->Create();
  return folder;
}

}  // namespace tarn
