#pragma once

#include "orvanta/value.h"

namespace orvanta {

// Attribute keys and constants of generic-password items.
inline constexpr const char* kSecClass = "class";
inline constexpr const char* kSecClassGenericPassword = "genp";
inline constexpr const char* kSecAttrGeneric = "gena";
inline constexpr const char* kSecAttrAccount = "acct";
inline constexpr const char* kSecAttrLabel = "labl";
inline constexpr const char* kSecAttrDescription = "desc";
inline constexpr const char* kSecAttrAccessGroup = "agrp";
inline constexpr const char* kSecValueData = "v_Data";
inline constexpr const char* kSecMatchLimit = "m_Limit";
inline constexpr const char* kSecMatchLimitOne = "m_LimitOne";
inline constexpr const char* kSecReturnAttributes = "r_Attributes";
inline constexpr const char* kSecReturnData = "r_Data";

// Status codes.
inline constexpr int errSecSuccess = 0;
inline constexpr int errSecItemNotFound = -25300;
inline constexpr int errSecDuplicateItem = -25299;
inline constexpr int errSecIO = -36;

// A store of generic-password items. An item is a map of attributes plus its
// secret under kSecValueData (bytes). A query matches the items whose
// attributes equal every attribute of the query; keys beginning "m_" or "r_"
// steer the search and are not attributes. Thread-safe.
class SecureStore {
 public:
  virtual ~SecureStore() = default;
  // On success stores the first match in *result: its attributes, plus
  // kSecValueData when the query asks for kSecReturnData.
  virtual int copyMatching(const Map& query, Map* result) = 0;
  virtual int add(const Map& item) = 0;
  // Replaces, in every item matching query, the attributes given in changes.
  virtual int update(const Map& query, const Map& changes) = 0;
  virtual int remove(const Map& query) = 0;
};

}  // namespace orvanta
