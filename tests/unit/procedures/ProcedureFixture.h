#pragma once

#include <gtest/gtest.h>

#include "procedures/HostApi.h"
#include "support/HostTable.h"

// Binds the room to the test's host table, as the loader does.
class ProcedureTest : public testing::Test {
 protected:
  ProcedureTest() { lumora::procedures::gHostApi = lumora::test::HostTable(); }

  lumora::test::HostContext mContext;
};

// The message of the standard exception that inAction throws; "(nothing)" when it throws none.
template <typename TException = std::exception, typename TAction>
std::string MessageOf(TAction inAction) {
  try {
    inAction();
  } catch (TException const& error) {
    return error.what();
  }
  return "(nothing)";
}
