#pragma once

#include <cstdint>

#include "tarn/Export.h"
#include "tarn/String.h"
#include "tarn/Types.h"

namespace tarn {

// The host's exception: a code and up to four texts. Thrown by value, caught by reference.
class LSHARED_API xException {
 public:
  xException(std::uint32_t inCode, char const* inText1, char const* inText2 = nullptr,
             char const* inText3 = nullptr, char const* inText4 = nullptr);
  xException(std::uint32_t inCode, WChar const* inText1, WChar const* inText2 = nullptr,
             WChar const* inText3 = nullptr, WChar const* inText4 = nullptr);
  xException(xException const&);
  xException& operator=(xException const&);
  virtual ~xException();

  std::uint32_t get_Code() const noexcept { return mCode; }

  // Text 0 to 3; a text that was not given, or an index past 3, is the empty text.
  String const& get_Text(std::uint32_t inIndex) const noexcept;

  // The given texts that are not empty, joined with ": ". The code is not part of it.
  String get_Message() const;

  // The class's name without namespaces ("xDuckDBError").
  virtual char const* get_Name() const noexcept;

 private:
  std::uint32_t mCode;
  String mTexts[4];
};

// Misuse of the extension object.
class LSHARED_API xDBError : public xException {
 public:
  explicit xDBError(std::uint32_t inCode, WChar const* inText1 = nullptr,
                    WChar const* inText2 = nullptr, WChar const* inText3 = nullptr,
                    WChar const* inText4 = nullptr);
  xDBError(xDBError const&);
  ~xDBError() override;
  char const* get_Name() const noexcept override;
};

// An operation that the object does not support.
class LSHARED_API xFeatureError : public xException {
 public:
  explicit xFeatureError(std::uint32_t inCode, char const* inText1 = nullptr,
                         char const* inText2 = nullptr, char const* inText3 = nullptr,
                         char const* inText4 = nullptr);
  xFeatureError(xFeatureError const&);
  ~xFeatureError() override;
  char const* get_Name() const noexcept override;
};

namespace lsql {

class LSHARED_API xLSQLException : public xException {
 public:
  using xException::xException;
  xLSQLException(xLSQLException const&);
  ~xLSQLException() override;
  char const* get_Name() const noexcept override;
};

// Every failure of DuckDB, and every misuse of a database, statement, result or cursor.
class LSHARED_API xDuckDBError : public xLSQLException {
 public:
  using xLSQLException::xLSQLException;
  xDuckDBError(xDuckDBError const&);
  ~xDuckDBError() override;
  char const* get_Name() const noexcept override;
};

}  // namespace lsql
}  // namespace tarn
