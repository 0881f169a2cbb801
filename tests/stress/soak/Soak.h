#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "Board.h"
#include "support/DatabaseTest.h"

// Files, models and meeting places of the soak's workers.
namespace lumora::test {

inline constexpr int kWorkers = 8;
inline constexpr int kSharedFiles = 3;

using SoakDatabase = tarn::smart_ptr<tarn::lsql::I_DuckDBDatabase>;

// What one worker was told to have happened. Written by the worker alone.
struct SoakModel {
  struct Shared {
    std::vector<std::int64_t> mLogged;  // its numbers in the table log, ascending
    std::int64_t mCounted = 0;          // its additions to the table counter
    std::int64_t mContended = 0;        // its additions to the one row of the table contended
  };
  std::array<Shared, kSharedFiles> mShared;
  std::map<std::int64_t, std::string> mPrivate;  // its own file's table kv
};

// What happened, over all workers.
struct SoakTally {
  std::atomic<std::uint64_t> mCancels{0};    // a database was closed by another worker
  std::atomic<std::uint64_t> mCancelled{0};  // an operation met that
  std::atomic<std::uint64_t> mConflicts{0};  // a change was refused for another's of that row
  std::atomic<std::uint64_t> mInserted{0};   // acknowledged rows
  std::atomic<std::uint64_t> mBackups{0};    // restored and found equal
};

class Soak {
 public:
  Soak();

  // The folder's files, before and between the phases when nothing is open.
  void MakeConstantFiles();
  void MakeSharedFiles();
  // Every file holds what the models say, nothing is open, and nothing else is in the folder.
  void Verify(std::vector<SoakModel const*> const& inModels);

  SoakDatabase NewDatabase(std::string const& inName) const;
  static std::string SharedName(int inFile) { return "shared" + std::to_string(inFile) + ".db"; }
  static std::string PrivateName(int inWorker) {
    return "private" + std::to_string(inWorker) + ".db";
  }

  // An operation went wrong. The first twenty are kept, and all workers stop soon.
  void Fail(std::string const& inWhat);
  bool get_HasFailed() const { return mHasFailed; }
  std::vector<std::string> get_Failures();

  // A database object of a worker that others may use to read and may close at any moment.
  void Publish(int inWorker, int inPlace, SoakDatabase inDatabase);
  SoakDatabase get_Published(int inWorker, int inPlace);

  TempFolder mFolder{FastFolder()};
  Board mBoard{kWorkers};
  SoakTally mTally;
  // Open while workers run, so that the first shared file can never be dropped.
  SoakDatabase mKeeper;

 private:
  void VerifyShared(int inFile, std::vector<SoakModel const*> const& inModels);
  void VerifyPrivate(int inWorker, SoakModel const& inModel);

  std::mutex mMutex;  // guards what follows
  std::vector<std::string> mFailures;
  std::array<std::array<SoakDatabase, 2>, kWorkers> mPublished;
  std::atomic<bool> mHasFailed{false};
};

}  // namespace lumora::test
