#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

// A host as the extension sees it: a table of functions written by index alone, from the numbers
// and the record layouts that were agreed upon and not from the extension's headers. Every entry
// that the extension must leave alone ends the process with a message.
namespace lumora::test {

enum Kind : std::int32_t {
  kArray = 1,
  kBool = 2,
  kBinary = 3,
  kDate = 4,
  kDateTime = 5,
  kDouble = 6,
  kInt64 = 7,
  kMoney = 8,
  kNull = 9,
  kText = 10,
  kTime = 11,
  kUint64 = 12,
  kVariant = 13,
};

struct HostValue {
  Kind mKind = kNull;
  std::int64_t mInt = 0;    // int64
  std::uint64_t mBits = 0;  // bool, uint64, packed date, time and date-time
  double mDouble = 0;
  bool mHasText = false;  // value_get_text gives mText, else null
  std::string mText;      // text and binary
  std::vector<std::shared_ptr<HostValue>> mItems;
};
using ValuePtr = std::shared_ptr<HostValue>;

// Arguments. A null ValuePtr is a null handle.
ValuePtr Null();
ValuePtr Int(std::int64_t inValue);
ValuePtr Uint(std::uint64_t inValue);
ValuePtr Text(std::string inText);
ValuePtr Other(Kind inKind, std::string inText);  // any kind, with a text
ValuePtr WithoutText(Kind inKind);                // any kind, without one
ValuePtr Array(std::vector<ValuePtr> inItems);

struct ProcedureDef {
  char const* mName;
  std::uint32_t mMinArgs;
  std::uint32_t mMaxArgs;
  char const* mSignature;
  char const* mDescription;
  void* mReserved1;
  void* mReserved2;
  void* (*mHandler)(void*, void* const*);
};

struct CursorDef {
  void* mState;
  std::uint64_t mReserved;
  std::uint32_t mColumnCount;
  char const* const* mColumnNames;
  std::int32_t const* mColumnKinds;
  void (*mDestroy)(void*, void*);
  void* (*mGetValue)(void*, void*, std::int32_t);
  std::int32_t (*mSeek)(void*, void*, std::int64_t);
  std::int32_t (*mNext)(void*, void*);
  std::int64_t (*mRowCount)(void*, void*);
};

class HostCursor;

// The context pointer of registrations, calls and callbacks. What is set here says how the host
// behaves, and what happened is kept here.
class HostContext {
 public:
  HostContext() = default;
  HostContext(HostContext const&) = delete;
  HostContext& operator=(HostContext const&) = delete;

  std::set<std::string> mRefusedProcedures;
  std::int32_t mCursorAnswer = 0;         // of both cursor factories
  std::function<void()> mBeforeValue;     // runs in each value constructor; may throw
  std::function<void()> mBeforeArgCount;  // runs in arg_count; may throw
  std::function<void()> mBeforeText;      // runs in value_get_text; may throw
  std::function<void()> mBeforeRegister;  // runs in register_procedure
  std::vector<void*> mArgs;               // of the call at hand

  std::vector<std::string> mErrors;
  std::vector<ProcedureDef> mProcedures;            // registered, in this order
  std::vector<std::string> mOffered;                // names, the refused ones included
  std::vector<std::unique_ptr<HostValue>> mValues;  // made and not taken over
  std::unique_ptr<HostCursor> mCursor;              // made

  std::uint64_t mMagic = 0x6C756D6F72613031;  // a context is handed back unchanged
};

// A host's cursor over rows that are all there or over callbacks; destroys its state once.
class HostCursor {
 public:
  explicit HostCursor(CursorDef const& inDefinition);
  HostCursor(std::vector<std::string> inNames, std::vector<std::vector<HostValue>> inRows);
  ~HostCursor();
  HostCursor(HostCursor const&) = delete;
  HostCursor& operator=(HostCursor const&) = delete;

  bool get_IsRowCursor() const { return !mDefinition.mDestroy; }
  std::vector<std::string> const& get_Names() const { return mNames; }
  std::vector<std::int32_t> const& get_Kinds() const { return mKinds; }  // of a callback cursor
  std::int64_t get_RowCount();
  bool Next();
  bool Seek(std::int64_t inRow);
  // Empty for a null handle.
  std::optional<HostValue> Get(std::int32_t inColumn);
  // From the position on to the end, all cells.
  std::vector<std::vector<std::optional<HostValue>>> ReadAll();

  HostContext mContext;  // of the callbacks: another one than the call's

 private:
  CursorDef mDefinition{};
  std::vector<std::string> mNames;
  std::vector<std::int32_t> mKinds;
  std::vector<std::vector<HostValue>> mRows;
  std::int64_t mRow = -1;
};

// The table, for lumora_extension_bind_api.
void (*const* HostTable())();

// One call of a registered procedure as a server makes it, without its own check of the count.
struct CallOutcome {
  std::unique_ptr<HostCursor> mCursor;  // null after a failure
  std::vector<std::string> mErrors;
};
CallOutcome CallProcedure(ProcedureDef const& inProcedure, std::vector<ValuePtr> const& inArgs);
// The same with a context that was prepared by the test.
CallOutcome CallProcedure(HostContext& ioContext, ProcedureDef const& inProcedure,
                          std::vector<ValuePtr> const& inArgs);

}  // namespace lumora::test
