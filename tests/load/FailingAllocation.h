#pragma once

namespace lumora::test {

// While it lives, the next allocation by operator new on this thread finds no memory. The operator
// of this executable stands in for everybody's, the extension's too.
class FailingAllocation {
 public:
  FailingAllocation();
  ~FailingAllocation();
  FailingAllocation(FailingAllocation const&) = delete;
  FailingAllocation& operator=(FailingAllocation const&) = delete;
};

}  // namespace lumora::test
