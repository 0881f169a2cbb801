#include "procedures/TypeTables.h"

#include <iterator>

namespace lumora::procedures {
namespace {

struct TypeRow {
  char const* mName;
  TypeId mRuntimeType;
  lumora_value_kind mKind;  // of the type as a runtime type
};

constexpr TypeId kDouble = DUCKDB_TYPE_DOUBLE;
constexpr TypeId kTimestamp = DUCKDB_TYPE_TIMESTAMP;
constexpr TypeId kTime = DUCKDB_TYPE_TIME;
constexpr TypeId kVarchar = DUCKDB_TYPE_VARCHAR;

// By identifier.
constexpr TypeRow kTypes[] = {
    /*  0 */ {"INVALID", kVarchar, lumora_kind_text},
    /*  1 */ {"BOOLEAN", DUCKDB_TYPE_BOOLEAN, lumora_kind_bool},
    /*  2 */ {"TINYINT", DUCKDB_TYPE_TINYINT, lumora_kind_int64},
    /*  3 */ {"SMALLINT", DUCKDB_TYPE_SMALLINT, lumora_kind_int64},
    /*  4 */ {"INTEGER", DUCKDB_TYPE_INTEGER, lumora_kind_int64},
    /*  5 */ {"BIGINT", DUCKDB_TYPE_BIGINT, lumora_kind_int64},
    /*  6 */ {"UTINYINT", DUCKDB_TYPE_UTINYINT, lumora_kind_uint64},
    /*  7 */ {"USMALLINT", DUCKDB_TYPE_USMALLINT, lumora_kind_uint64},
    /*  8 */ {"UINTEGER", DUCKDB_TYPE_UINTEGER, lumora_kind_uint64},
    /*  9 */ {"UBIGINT", DUCKDB_TYPE_UBIGINT, lumora_kind_uint64},
    /* 10 */ {"FLOAT", DUCKDB_TYPE_FLOAT, lumora_kind_double},
    /* 11 */ {"DOUBLE", DUCKDB_TYPE_DOUBLE, lumora_kind_double},
    /* 12 */ {"TIMESTAMP", DUCKDB_TYPE_TIMESTAMP, lumora_kind_datetime},
    /* 13 */ {"DATE", DUCKDB_TYPE_DATE, lumora_kind_date},
    /* 14 */ {"TIME", DUCKDB_TYPE_TIME, lumora_kind_time},
    /* 15 */ {"INTERVAL", kVarchar, lumora_kind_text},
    /* 16 */ {"HUGEINT", kVarchar, lumora_kind_text},
    /* 17 */ {"VARCHAR", DUCKDB_TYPE_VARCHAR, lumora_kind_text},
    /* 18 */ {"BLOB", DUCKDB_TYPE_BLOB, lumora_kind_binary},
    /* 19 */ {"DECIMAL", kDouble, lumora_kind_text},
    /* 20 */ {"TIMESTAMP_S", kTimestamp, lumora_kind_text},
    /* 21 */ {"TIMESTAMP_MS", kTimestamp, lumora_kind_text},
    /* 22 */ {"TIMESTAMP_NS", kTimestamp, lumora_kind_text},
    /* 23 */ {"ENUM", kVarchar, lumora_kind_text},
    /* 24 */ {"LIST", kVarchar, lumora_kind_text},
    /* 25 */ {"STRUCT", kVarchar, lumora_kind_text},
    /* 26 */ {"MAP", kVarchar, lumora_kind_text},
    /* 27 */ {"UUID", kVarchar, lumora_kind_text},
    /* 28 */ {"UNION", kVarchar, lumora_kind_text},
    /* 29 */ {"BIT", kVarchar, lumora_kind_text},
    /* 30 */ {"TIME_TZ", kTime, lumora_kind_text},
    /* 31 */ {"TIMESTAMP_TZ", kTimestamp, lumora_kind_text},
    /* 32 */ {"UHUGEINT", kVarchar, lumora_kind_text},
    /* 33 */ {"ARRAY", kVarchar, lumora_kind_text},
    /* 34 */ {"ANY", kVarchar, lumora_kind_text},
    /* 35 */ {"BIGNUM", kVarchar, lumora_kind_text},
    /* 36 */ {"SQLNULL", kVarchar, lumora_kind_text},
    /* 37 */ {"STRING_LITERAL", kVarchar, lumora_kind_text},
    /* 38 */ {"INTEGER_LITERAL", kVarchar, lumora_kind_text},
    /* 39 */ {"TIME_NS", kTime, lumora_kind_text},
};
static_assert(std::size(kTypes) == DUCKDB_TYPE_TIME_NS + 1);

constexpr TypeRow kUnknownType = {"UNKNOWN", kVarchar, lumora_kind_text};

TypeRow const& FindType(TypeId inType) noexcept {
  return inType < std::size(kTypes) ? kTypes[inType] : kUnknownType;
}

constexpr char const* kKindNames[] = {
    "unknown", "array", "bool", "binary", "date", "datetime", "double",
    "int64",   "money", "null", "text",   "time", "uint64",   "variant",
};

}  // namespace

char const* duckdb_type_name(TypeId inType) noexcept { return FindType(inType).mName; }

TypeId runtime_type_of(TypeId inType) noexcept { return FindType(inType).mRuntimeType; }

lumora_value_kind host_kind_of(TypeId inRuntimeType) noexcept {
  return FindType(inRuntimeType).mKind;
}

char const* host_kind_name(std::int32_t inKind) noexcept {
  bool const isKind = inKind > 0 && inKind < static_cast<std::int32_t>(std::size(kKindNames));
  return kKindNames[isKind ? inKind : 0];
}

}  // namespace lumora::procedures
