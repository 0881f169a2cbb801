#include <nlohmann/json.hpp>

#include <utility>

#include "duckdb_c/PrivateDatabase.h"

namespace lumora::duckdb_c {

namespace {

constexpr std::size_t kMaxStatements = 64;

LogicalTypeHandle MakePlainType(duckdb_type inType) {
  return LogicalTypeHandle(duckdb_create_logical_type(inType));
}

// A member's text; empty where there is no such member or it is none.
std::string TextMember(nlohmann::json const& inObject, char const* inName) {
  const auto member = inObject.find(inName);
  const bool is_text = member != inObject.end() && member->is_string();
  return is_text ? member->get<std::string>() : std::string();
}

}  // namespace

// With errors_as_json on, a text of DuckDB is an object of its kind, its message and more.
PrivateError DecodePrivateError(char const* inText) {
  PrivateError error{TextOr(inText, ""), false};
  const nlohmann::json object = nlohmann::json::parse(error.mMessage, nullptr, false);
  if (!object.is_object()) return error;
  const std::string kind = TextMember(object, "exception_type");
  error.mIsFatal = kind == "FATAL" || kind == "INTERNAL";
  if (std::string message = TextMember(object, "exception_message"); !message.empty()) {
    error.mMessage = std::move(message);
  }
  return error;
}

std::string PrivateConnection::NoteError(char const* inText) {
  PrivateError error = DecodePrivateError(inText);
  if (error.mIsFatal) Abandon();
  return std::move(error.mMessage);
}

duckdb_prepared_statement PrivateConnection::Prepare(std::string const& inSql,
                                                     std::string& outError) {
  if (const auto found = mStatements.find(inSql); found != mStatements.end()) {
    return found->second.get();
  }
  PreparedHandle statement;
  if (duckdb_prepare(mConnection.get(), inSql.c_str(), statement.out()) != DuckDBSuccess) {
    outError = NoteError(duckdb_prepare_error(statement.get()));
    return nullptr;
  }
  if (mStatements.size() >= kMaxStatements) mStatements.clear();
  return mStatements.emplace(inSql, std::move(statement)).first->second.get();
}

bool PrivateConnection::Query(std::string const& inSql, ResultHandle& outResult,
                              std::string& outError) {
  mIsEmitted = false;
  if (duckdb_query(mConnection.get(), inSql.c_str(), outResult.out()) == DuckDBSuccess) return true;
  outError = NoteError(duckdb_result_error(outResult.ptr()));
  return false;
}

bool PrivateConnection::Execute(duckdb_prepared_statement inStatement,
                                std::span<duckdb_value const> inValues, ResultHandle& outResult,
                                std::string& outError) {
  mIsEmitted = false;
  idx_t position = 0;
  for (const duckdb_value value : inValues) {
    if (duckdb_bind_value(inStatement, ++position, value) != DuckDBSuccess) {
      outError = NoteError(duckdb_prepare_error(inStatement));
      return false;
    }
  }
  const bool is_done = duckdb_execute_prepared(inStatement, outResult.out()) == DuckDBSuccess;
  if (!is_done) outError = NoteError(duckdb_result_error(outResult.ptr()));
  // A kept statement must not keep the values alive.
  duckdb_clear_bindings(inStatement);
  return is_done;
}

bool PrivateConnection::RegisterFunctions() {
  const LogicalTypeHandle any = MakePlainType(DUCKDB_TYPE_ANY);
  const TableFunctionHandle capture(duckdb_create_table_function());
  duckdb_table_function_set_name(capture.get(), mCaptureName.c_str());
  duckdb_table_function_add_parameter(capture.get(), any.get());
  duckdb_table_function_set_extra_info(capture.get(), this, nullptr);
  duckdb_table_function_set_bind(capture.get(), BindCapture);
  duckdb_table_function_set_init(capture.get(), [](duckdb_init_info) {});
  duckdb_table_function_set_function(capture.get(),
                                     [](duckdb_function_info, duckdb_data_chunk inOutput) {
                                       duckdb_data_chunk_set_size(inOutput, 0);
                                     });

  const TableFunctionHandle emit(duckdb_create_table_function());
  duckdb_table_function_set_name(emit.get(), mEmitName.c_str());
  duckdb_table_function_set_extra_info(emit.get(), this, nullptr);
  duckdb_table_function_set_bind(emit.get(), BindEmit);
  duckdb_table_function_set_init(emit.get(), InitEmit);
  duckdb_table_function_set_function(emit.get(), RunEmit);
  return duckdb_register_table_function(mConnection.get(), capture.get()) == DuckDBSuccess &&
         duckdb_register_table_function(mConnection.get(), emit.get()) == DuckDBSuccess;
}

void PrivateConnection::BindCapture(duckdb_bind_info inInfo) {
  auto* const self = static_cast<PrivateConnection*>(duckdb_bind_get_extra_info(inInfo));
  *self->mCaptured.out() = duckdb_bind_get_parameter(inInfo, 0);
  const LogicalTypeHandle boolean = MakePlainType(DUCKDB_TYPE_BOOLEAN);
  duckdb_bind_add_result_column(inInfo, "x", boolean.get());
}

void PrivateConnection::BindEmit(duckdb_bind_info inInfo) {
  const auto* const self = static_cast<PrivateConnection*>(duckdb_bind_get_extra_info(inInfo));
  if (self->mSource.mType) {
    duckdb_bind_add_result_column(inInfo, "x", self->mSource.mType);
  } else {
    duckdb_bind_set_error(inInfo, "There is no source");
  }
}

void PrivateConnection::InitEmit(duckdb_init_info inInfo) {
  duckdb_init_set_max_threads(inInfo, 1);
}

void PrivateConnection::RunEmit(duckdb_function_info inInfo, duckdb_data_chunk inOutput) {
  auto* const self = static_cast<PrivateConnection*>(duckdb_function_get_extra_info(inInfo));
  EmitSource const& source = self->mSource;
  if (self->mIsEmitted || !source.mVector) {
    duckdb_data_chunk_set_size(inOutput, 0);
    return;
  }
  self->mIsEmitted = true;
  const duckdb_vector output = duckdb_data_chunk_get_vector(inOutput, 0);
  duckdb_vector_reference_vector(output, source.mVector);
  idx_t size = source.mSize;
  if (source.mRow) {
    const SelectionHandle row(duckdb_create_selection_vector(1));
    *duckdb_selection_vector_get_data_ptr(row.get()) = static_cast<sel_t>(*source.mRow);
    duckdb_slice_vector(output, row.get(), 1);
    size = 1;
  }
  duckdb_data_chunk_set_size(inOutput, size);
}

}  // namespace lumora::duckdb_c
