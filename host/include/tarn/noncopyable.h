#pragma once

namespace tarn {

// Base of classes whose objects have an identity and are never copied.
class noncopyable {
 public:
  noncopyable() = default;
  virtual ~noncopyable() = default;
  noncopyable(noncopyable const&) = delete;
  noncopyable& operator=(noncopyable const&) = delete;
};

}  // namespace tarn
