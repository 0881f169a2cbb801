#include "tarn/Exceptions.h"

namespace tarn {

xException::xException(std::uint32_t inCode, char const* inText1, char const* inText2,
                       char const* inText3, char const* inText4)
    : mCode(inCode), mTexts{String(inText1), String(inText2), String(inText3), String(inText4)} {}

xException::xException(std::uint32_t inCode, WChar const* inText1, WChar const* inText2,
                       WChar const* inText3, WChar const* inText4)
    : mCode(inCode), mTexts{String(inText1), String(inText2), String(inText3), String(inText4)} {}

xException::xException(xException const&) = default;
xException& xException::operator=(xException const&) = default;
xException::~xException() = default;

String const& xException::get_Text(std::uint32_t inIndex) const noexcept {
  return inIndex < 4 ? mTexts[inIndex] : String::sEmpty;
}

String xException::get_Message() const {
  String result;
  for (String const& text : mTexts) {
    if (text.isEmpty()) continue;
    if (!result.isEmpty()) result += ": ";
    result += text;
  }
  return result;
}

char const* xException::get_Name() const noexcept { return "xException"; }

xDBError::xDBError(std::uint32_t inCode, WChar const* inText1, WChar const* inText2,
                   WChar const* inText3, WChar const* inText4)
    : xException(inCode, inText1, inText2, inText3, inText4) {}
xDBError::xDBError(xDBError const&) = default;
xDBError::~xDBError() = default;
char const* xDBError::get_Name() const noexcept { return "xDBError"; }

xFeatureError::xFeatureError(std::uint32_t inCode, char const* inText1, char const* inText2,
                             char const* inText3, char const* inText4)
    : xException(inCode, inText1, inText2, inText3, inText4) {}
xFeatureError::xFeatureError(xFeatureError const&) = default;
xFeatureError::~xFeatureError() = default;
char const* xFeatureError::get_Name() const noexcept { return "xFeatureError"; }

namespace lsql {

xLSQLException::xLSQLException(xLSQLException const&) = default;
xLSQLException::~xLSQLException() = default;
char const* xLSQLException::get_Name() const noexcept { return "xLSQLException"; }

xDuckDBError::xDuckDBError(xDuckDBError const&) = default;
xDuckDBError::~xDuckDBError() = default;
char const* xDuckDBError::get_Name() const noexcept { return "xDuckDBError"; }

}  // namespace lsql
}  // namespace tarn
