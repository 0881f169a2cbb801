#include "support/FileLock.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

namespace lumora::test {

namespace {

// Only calls that are safe between fork and exec: the parent may have threads.
bool TakeLock(char const* inPath, short inType) {
  int const file = open(inPath, inType == F_WRLCK ? O_RDWR : O_RDONLY);
  if (file < 0) return false;
  struct flock lock {};
  lock.l_type = inType;
  lock.l_whence = SEEK_SET;
  bool const taken = fcntl(file, F_SETLK, &lock) == 0;
  if (!taken) close(file);
  return taken;
}

bool AnotherProcessCanLock(std::string const& inPath, short inType) {
  pid_t const child = fork();
  if (child == 0) _exit(TakeLock(inPath.c_str(), inType) ? 0 : 1);
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status)) {
    throw std::runtime_error("no child process");
  }
  return WEXITSTATUS(status) == 0;
}

}  // namespace

bool AnotherProcessCanWrite(std::string const& inPath) {
  return AnotherProcessCanLock(inPath, F_WRLCK);
}

bool AnotherProcessCanRead(std::string const& inPath) {
  return AnotherProcessCanLock(inPath, F_RDLCK);
}

struct ForeignLock::Holder {
  pid_t mChild = -1;
  int mPipe = -1;
};

ForeignLock::ForeignLock(std::string const& inPath, bool inWrite)
    : mHolder(std::make_unique<Holder>()) {
  int down[2];
  int up[2];
  if (pipe(down) != 0 || pipe(up) != 0) throw std::runtime_error("no pipe");
  mHolder->mChild = fork();
  if (mHolder->mChild == 0) {
    close(down[1]);
    char const answer = TakeLock(inPath.c_str(), inWrite ? F_WRLCK : F_RDLCK) ? 'y' : 'n';
    (void)!write(up[1], &answer, 1);
    char end = 0;
    (void)!read(down[0], &end, 1);
    _exit(0);
  }
  close(down[0]);
  close(up[1]);
  mHolder->mPipe = down[1];
  char answer = 'n';
  bool const held = mHolder->mChild > 0 && read(up[0], &answer, 1) == 1 && answer == 'y';
  close(up[0]);
  if (!held) throw std::runtime_error("the child process got no lock");
}

ForeignLock::~ForeignLock() {
  close(mHolder->mPipe);
  waitpid(mHolder->mChild, nullptr, 0);
}

int ForeignLock::get_ProcessId() const { return mHolder->mChild; }

struct LockThief::Holder {
  pid_t mChild = -1;
  int mPipe = -1;
};

LockThief::LockThief(std::string const& inPath) : mHolder(std::make_unique<Holder>()) {
  int ends[2];
  int up[2];
  if (pipe(ends) != 0 || pipe(up) != 0) throw std::runtime_error("no pipe");
  mHolder->mChild = fork();
  if (mHolder->mChild == 0) {
    close(ends[1]);
    fcntl(ends[0], F_SETFL, O_NONBLOCK);
    bool stolen = TakeLock(inPath.c_str(), F_WRLCK);
    char end = 0;
    (void)!write(up[1], &end, 1);
    while (!stolen && read(ends[0], &end, 1) != 0) stolen = TakeLock(inPath.c_str(), F_WRLCK);
    _exit(stolen ? 1 : 0);
  }
  close(ends[0]);
  close(up[1]);
  mHolder->mPipe = ends[1];
  char begun = 0;
  if (mHolder->mChild < 0 || read(up[0], &begun, 1) != 1)
    throw std::runtime_error("no child process");
  close(up[0]);
}

LockThief::~LockThief() {
  if (mHolder->mChild > 0) WasKeptOut();
}

bool LockThief::WasKeptOut() {
  close(mHolder->mPipe);
  int status = 0;
  waitpid(mHolder->mChild, &status, 0);
  mHolder->mChild = -1;
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace lumora::test
