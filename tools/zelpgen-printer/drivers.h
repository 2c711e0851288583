// The printer models and how each IPP value a printer announces becomes job configuration keys.
#pragma once

#include <pappl/pappl.h>

#include <string>
#include <vector>

namespace zp {

// One configuration line: `[section] key=value`.
struct ConfigLine {
  std::string section;
  std::string key;
  std::string value;
};

// One row of the mapping: an IPP attribute with one of its values ("*" for any number, written
// where the value holds "{n}") gives a key of the job configuration.
struct KeyMapping {
  const char* attribute;
  const char* ippValue;
  const char* section;
  const char* key;
  const char* value;
};

// The whole mapping, in the order the lines are written.
const std::vector<KeyMapping>& keyTable();

// The lines for `attribute` = `ippValue`; a number fills "{n}". Empty when the table has none.
std::vector<ConfigLine> mapValue(const std::string& attribute, const std::string& ippValue,
                                 long number = 0);

// Keywords the table knows for `attribute`, in table order (what the printer announces).
std::vector<std::string> tableValues(const std::string& attribute);

// The native print file's MIME type.
inline constexpr const char* kNativeFormat = "application/vnd.zelpgen-print";

// Vendor attributes every model carries.
inline constexpr const char* kVendorCutting = "cutting-type";
inline constexpr const char* kVendorDryingMethod = "drying-method";
inline constexpr const char* kVendorDryingTime = "drying-time";

int driverCount();
pappl_pr_driver_t* driverList();

bool driverCallback(pappl_system_t* system, const char* driverName, const char* deviceUri,
                    const char* deviceId, pappl_pr_driver_data_t* data, ipp_t** attrs,
                    void* cbdata);

// The MIME type of a document from its first bytes, when PAPPL does not know it.
const char* detectFormat(const unsigned char* header, size_t size, void* data);

}  // namespace zp
