// Value parsers of the configuration keys and the symbol table they look names up in.
#include "config/values.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "config/config.h"
#include "diag/diag.h"
#include "image/reduction.h"
#include "text/text.h"
#include "zelp/codes.h"

constexpr IDSymbol gIDSymbolTable[kIDSymbolCount + 1] = {
    {2, "id_val_input_tray_named"},
    {3, "id_val_input_tray_top"},
    {4, "id_val_input_tray_middle"},
    {5, "id_val_input_tray_bottom"},
    {6, "id_val_input_tray_envelope"},
    {7, "id_val_input_tray_manual"},
    {19, "id_val_input_tray_manual_single_2"},
    {20, "id_val_input_tray_manual_auto"},
    {8, "id_val_input_tray_large_capacity"},
    {9, "id_val_input_tray_main"},
    {10, "id_val_input_tray_side"},
    {11, "id_val_input_tray_auto"},
    {12, "id_val_input_tray_none"},
    {13, "id_val_input_tray_numbered"},
    {16, "id_val_input_tray_rotation"},
    {18, "id_val_input_tray_manual_single"},
    {101, "id_val_input_tray_cassette_1"},
    {102, "id_val_input_tray_cassette_2"},
    {103, "id_val_input_tray_cassette_3"},
    {104, "id_val_input_tray_cassette_4"},
    {105, "id_val_input_tray_cassette_5"},
    {106, "id_val_input_tray_cassette_6"},
    {107, "id_val_input_tray_cassette_7"},
    {108, "id_val_input_tray_cassette_8"},
    {109, "id_val_input_tray_cassette_9"},
    {121, "id_val_input_tray_option_cassette_1"},
    {122, "id_val_input_tray_option_cassette_2"},
    {123, "id_val_input_tray_option_cassette_3"},
    {124, "id_val_input_tray_option_cassette_4"},
    {125, "id_val_input_tray_option_cassette_5"},
    {201, "id_val_input_tray_roll_1"},
    {211, "id_val_input_tray_option_roll_1"},
    {1, "id_val_medium_type_unknown"},
    {2, "id_val_medium_type_other"},
    {3, "id_val_medium_type_stationery"},
    {4, "id_val_medium_type_transparency"},
    {6, "id_val_medium_type_envelope"},
    {7, "id_val_medium_type_labels"},
    {8, "id_val_medium_type_pasteboard"},
    {9, "id_val_medium_type_extra_pasteboard"},
    {10, "id_val_medium_type_flimsy"},
    {11, "id_val_medium_type_recycled"},
    {12, "id_val_medium_type_color"},
    {13, "id_val_medium_type_glossy"},
    {13, "id_val_medium_type_glossy_film"},
    {14, "id_val_medium_type_special"},
    {15, "id_val_medium_type_ruled"},
    {16, "id_val_medium_type_letter_head"},
    {17, "id_val_medium_type_pre_printed"},
    {18, "id_val_medium_type_pre_punched"},
    {19, "id_val_medium_type_rough"},
    {20, "id_val_medium_type_tracing"},
    {21, "id_val_medium_type_card_stock"},
    {22, "id_val_medium_type_heavy_paper"},
    {23, "id_val_medium_type_heavy_paper_2"},
    {24, "id_val_medium_type_second_side"},
    {25, "id_val_medium_type_post_card"},
    {26, "id_val_medium_type_stationery_2"},
    {27, "id_val_medium_type_special_2"},
    {28, "id_val_medium_type_special_3"},
    {29, "id_val_medium_type_special_4"},
    {33, "id_val_medium_type_bond"},
    {34, "id_val_medium_type_tab"},
    {35, "id_val_medium_type_laminatable"},
    {36, "id_val_medium_type_coated"},
    {37, "id_val_medium_type_heavy_coated"},
    {38, "id_val_medium_type_semi_glossy_paper"},
    {39, "id_val_medium_type_glossy_paper"},
    {40, "id_val_medium_type_back_print_film"},
    {41, "id_val_medium_type_special_5"},
    {44, "id_val_medium_type_matte_film"},
    {45, "id_val_medium_type_cloth"},
    {50, "id_val_medium_type_custom"},
    {52, "id_val_medium_type_art"},
    {254, "id_val_medium_type_not_care"},
    {255, "id_val_medium_type_any"},
    {1, "id_val_print_quality_draft"},
    {2, "id_val_print_quality_normal"},
    {3, "id_val_print_quality_high"},
    {1, "id_val_medium_cutting_type_none"},
    {2, "id_val_medium_cutting_type_cut"},
    {3, "id_val_medium_cutting_type_cutline"},
    {4, "id_val_medium_cutting_type_auto"},
    {1, "id_val_marker_colorant_drying_type_none"},
    {2, "id_val_marker_colorant_drying_type_auto"},
    {3, "id_val_marker_colorant_drying_type_level_high"},
    {4, "id_val_marker_colorant_drying_type_level_normal"},
    {5, "id_val_marker_colorant_drying_type_level_low"},
    {6, "id_val_marker_colorant_drying_type_time"},
    {0, "zelpgen_id_val_set_job_time_none"},
    {1, "zelpgen_id_val_set_job_time_with_current_time"},
    {1, "id_val_lfp_media_edit_auto"},
    {2, "id_val_lfp_media_edit_panel_setting_first"},
    {3, "id_val_lfp_media_edit_none"},
    {10, "id_val_lfp_media_edit_1_sec"},
    {11, "id_val_lfp_media_edit_3_sec"},
    {12, "id_val_lfp_media_edit_5_sec"},
    {13, "id_val_lfp_media_edit_7_sec"},
    {14, "id_val_lfp_media_edit_9_sec"},
    {33, "id_val_lfp_media_edit_30_sec"},
    {4, "id_val_lfp_media_edit_1_min"},
    {5, "id_val_lfp_media_edit_2_min"},
    {34, "id_val_lfp_media_edit_3_min"},
    {6, "id_val_lfp_media_edit_5_min"},
    {7, "id_val_lfp_media_edit_10_min"},
    {8, "id_val_lfp_media_edit_30_min"},
    {9, "id_val_lfp_media_edit_60_min"},
    {15, "id_val_lfp_media_edit_5mm"},
    {16, "id_val_lfp_media_edit_7mm"},
    {17, "id_val_lfp_media_edit_20mm"},
    {18, "id_val_lfp_media_edit_on"},
    {19, "id_val_lfp_media_edit_off"},
    {20, "id_val_lfp_media_edit_high"},
    {21, "id_val_lfp_media_edit_normal"},
    {22, "id_val_lfp_media_edit_low"},
    {23, "id_val_lfp_media_edit_thick"},
    {24, "id_val_lfp_media_edit_thin"},
    {25, "id_val_lfp_media_edit_weak"},
    {26, "id_val_lfp_media_edit_very_weak"},
    {27, "id_val_lfp_media_edit_low_speed"},
    {28, "id_val_lfp_media_edit_on_rough"},
    {29, "id_val_lfp_media_edit_10mm"},
    {30, "id_val_lfp_media_edit_strong"},
    {31, "id_val_lfp_media_edit_little_strong"},
    {32, "id_val_lfp_media_edit_high_speed"},
    {27, "id_val_lfp_media_edit_low_speed"},
    {36, "id_val_lfp_media_edit_middle1"},
    {37, "id_val_lfp_media_edit_middle2"},
    {38, "id_val_lfp_media_edit_middle3"},
    {1, "id_val_plex_simplex"},
    {4, "id_val_plex_dependent_on_binding_edge"},
    {1, "id_val_plex_image_position_adjustment_off"},
    {2, "id_val_plex_image_position_adjustment_on"},
    {1, "id_val_job_execution_mode_none"},
    {2, "id_val_job_execution_mode_with_job_store"},
    {3, "id_val_job_execution_mode_job_store"},
    {1, "id_val_identify_none"},
    {2, "id_val_identify_by_handle"},
    {3, "id_val_identify_by_number"},
    {4, "id_val_identify_by_name"},
    {4, "id_val_job_start_type_immediate"},
    {7, "id_val_job_start_type_wait_script_end"},
    {1, "id_val_print_quality_optimized_level1"},
    {2, "id_val_print_quality_optimized_level2"},
    {3, "id_val_print_quality_optimized_level3"},
    {4, "id_val_print_quality_optimized_level4"},
    {1, "id_val_head_one_way_print_off"},
    {2, "id_val_head_one_way_print_forward"},
    {0, "id_val_lfp_calibration_valid"},
    {1, "id_val_lfp_calibration_invalid"},
    {3, "id_val_lfp_calibration_panel_setting_first"},
    {0, "id_val_lfp_path_mode_none"},
    {1, "id_val_lfp_path_mode_1"},
    {2, "id_val_lfp_path_mode_2"},
    {0, "id_val_lfp_calibration_valid"},
    {1, "id_val_lfp_calibration_invalid"},
    {3, "id_val_lfp_calibration_panel_setting_first"},
    {0, "SHORTEDGE"},
    {1, "LONGEDGE"},
    {2, "kelm_id_val_image_format_row_rgb_multi_level"},
    {3, "kelm_id_val_image_format_row_kcmy_kccmmy_multi_level"},
    {4, "kelm_id_val_image_format_row_kcmy_kccmmy_index"},
    {5, "kelm_id_val_image_format_row_kcmy_kccmmy_bi_level"},
    {18, "kelm_id_val_image_format_pixel_rgb_multi_level"},
    {19, "kelm_id_val_image_format_pixel_kcmy_kccmmy_multi_level"},
    {20, "kelm_id_val_image_format_pixel_kcmy_kccmmy_index"},
    {21, "kelm_id_val_image_format_pixel_kcmy_kccmmy_bi_level"},
    {0, "kelm_id_val_compression_none"},
    {2, "kelm_id_val_compression_packbits"},
    {3, "kelm_id_val_compression_seedrow"},
    {128, "kelm_id_val_compression_packbits_block"},
    {256, "kelm_id_val_compression_packbits_seedrow"},
    {0, "OFF"},
    {1, "ON"},
    {0, "kelm_id_val_centering_none"},
    {1, "kelm_id_val_centering_width"},
    {2, "kelm_id_val_centering_width_height"},
    {0, "kelm_id_val_inktype_photo"},
    {1, "kelm_id_val_inktype_matte"},
    {0, nullptr},
};

namespace {

bool isEmptyValue(const char* value) {
  return value == nullptr || value[0] == '\0';
}

constexpr const char kMediumTypeExPrefix[] = "id_val_lfp_medium_type_ex_";

[[noreturn]] void fail(const std::string& reason) {
  diag::failJob(reason);
}

std::string quoted(const char* value) {
  return std::string("\"") + value + "\"";
}

void requireValue(const char* value, bool alreadySet) {
  if (isEmptyValue(value)) fail("no value given");
  if (alreadySet) fail("given more than once");
}

[[noreturn]] void notNumber(const char* value) {
  fail(quoted(value) + " is not a number");
}

// The names a few keys take, for the message; the table itself has no grouping.
constexpr struct {
  const char* key;
  const char* names;
} kNameHints[] = {{"PaperOrient", "LONGEDGE, SHORTEDGE"},
                  {"Banner", "ON, OFF"},
                  {"SavePaper", "ON, OFF"},
                  {"DMask", "ON, OFF"}};

[[noreturn]] void unknownName(const char* key, const char* value) {
  for (const auto& hint : kNameHints)
    if (std::strcmp(key, hint.key) == 0) fail(quoted(value) + " is not one of " + hint.names);
  fail(quoted(value) + " is neither a number nor a known name");
}

// An empty text passes both: the checks look at every character there is.
bool allDigits(const char* s) {
  for (; *s != '\0'; ++s)
    if (!isDecimalDigit(*s)) return false;
  return true;
}

bool allHexDigits(const char* s) {
  for (; *s != '\0'; ++s)
    if (hexDigitValue(*s) < 0) return false;
  return true;
}

int store(int* field, int value, cfgLine* line) {
  *field = value;
  if (line != nullptr) line->numericValue = value;
  return 1;
}

// A hexadecimal or decimal number text; false when the value is neither.
bool numberValue(const char* value, int* out) {
  if (hasHexPrefix(value) && allHexDigits(value + 2)) {
    *out = hexadecimalToDecimal(value);
    return true;
  }
  if (allDigits(value)) {
    *out = atoiWrapped(value);
    return true;
  }
  return false;
}

// The rest of a medium type extension: four digits read as hexadecimal, or a word.
int convertCharToInt(const char* rest, int* out) {
  if (isDecimalDigit(rest[0])) {
    if (std::strlen(rest) != 4) return -1;
    *out = static_cast<int>(std::strtol(rest, nullptr, 16));
    return 0;
  }
  for (const zelp::value::Name& w : zelp::value::kMediumTypeExWords) {
    if (std::strcmp(rest, w.name) == 0) {
      *out = w.code;
      return 0;
    }
  }
  return -1;
}

// The text after the medium type extension prefix, or null when the prefix is missing.
const char* separateIDAndInt(const char* value) {
  const std::size_t n = sizeof kMediumTypeExPrefix - 1;
  return std::strncmp(value, kMediumTypeExPrefix, n) == 0 ? value + n : nullptr;
}

int signedDecimal(const char* key, const char* want, const char* value, int* field, int* sign,
                  cfgLine* line) {
  if (std::strcmp(key, want) != 0) return -1;
  requireValue(value, *field != -1);
  const char* digits = value;
  *sign = 0;
  if (*digits == '+') {
    *sign = 1;
    ++digits;
  } else if (*digits == '-') {
    *sign = -1;
    ++digits;
  }
  if (!allDigits(digits)) notNumber(value);
  return store(field, atoiWrapped(value), line);
}

int piece(const char* text, std::size_t at, std::size_t length) {
  return atoiWrapped(std::string(text + at, length).c_str());
}

}  // namespace

int convertSymbolToInt(const char* name, int* out) {
  for (const IDSymbol* row = gIDSymbolTable; row->name != nullptr; ++row) {
    if (std::strcmp(row->name, name) == 0) {
      *out = static_cast<int>(row->value);
      return 0;
    }
  }
  return -1;
}

int hexadecimalToDecimal(const char* text) {
  const char* s = text;
  if (*s == '+') ++s;
  const bool negative = *s == '-';
  if (negative) ++s;
  for (int i = 0; i < 2 && *s != '\0'; ++i) ++s;
  std::uint32_t value = 0;
  for (; *s != '\0'; ++s) {
    const int digit = hexDigitValue(*s);
    value = value * 16u + static_cast<std::uint32_t>(digit < 0 ? 0 : digit);
  }
  return static_cast<int>(negative ? 0u - value : value);
}

int atoiWrapped(const char* text) {
  const char* s = text;
  while (*s == ' ' || (*s >= '\t' && *s <= '\r')) ++s;
  bool negative = false;
  if (*s == '+' || *s == '-') negative = *s++ == '-';
  std::uint32_t value = 0;
  for (; isDecimalDigit(*s); ++s) value = value * 10u + static_cast<std::uint32_t>(*s - '0');
  return static_cast<int>(negative ? 0u - value : value);
}

int processQuotaions(const char* in, char* out, std::size_t outSize) {
  std::size_t n = 0;
  auto put = [&](char c) {
    if (n + 1 < outSize) out[n++] = c;
  };
  int result = -1;
  if (in[0] == '"') {
    const char* s = in + 1;
    while (*s != '\0') {
      if ((s[0] == '\\' || s[0] == '"') && s[1] == '"') {
        put('"');
        s += 2;
      } else if (s[0] == '"') {
        // The closing quote must end the value.
        if (s[1] == '\0') result = 0;
        break;
      } else {
        put(*s++);
      }
    }
  }
  if (outSize > 0) out[n] = '\0';
  return result;
}

int parseParameterText(const char* key, const char* want, const char* value, std::span<char> field,
                       std::size_t maxLength, cfgLine*) {
  if (std::strcmp(key, want) != 0) return -1;
  requireValue(value, field[0] != '\0');
  std::string text(std::strlen(value) + 1, '\0');
  if (processQuotaions(value, text.data(), text.size()) != 0)
    fail(std::string(value) + " is not a text in double quotes");
  std::size_t n = std::strlen(text.c_str());
  if (n > maxLength) n = maxLength;
  if (n > field.size()) n = field.size();
  std::memcpy(field.data(), text.data(), n);
  std::memset(field.data() + n, 0, field.size() - n);
  return 1;
}

int parseParameterInteger(const char* key, const char* want, const char* value, int* field,
                          cfgLine* line) {
  if (std::strcmp(key, want) != 0) return -1;
  requireValue(value, *field != -1);
  if (hasHexPrefix(value)) {
    if (!allHexDigits(value + 2)) fail(quoted(value) + " is not a hexadecimal number");
    return store(field, hexadecimalToDecimal(value), line);
  }
  if (!allDigits(value)) notNumber(value);
  return store(field, atoiWrapped(value), line);
}

int parseParameterIntegerS(const char* key, const char* want, const char* value, int* field,
                           cfgLine* line) {
  if (std::strcmp(key, want) != 0) return -1;
  requireValue(value, *field != INT_MIN);
  const char* s = value;
  if (*s == '+') ++s;
  if (*s == '-') ++s;
  if (hasHexPrefix(s)) {
    if (!allHexDigits(s + 2)) fail(quoted(value) + " is not a hexadecimal number");
    return store(field, hexadecimalToDecimal(value), line);
  }
  if (!allDigits(s)) notNumber(value);
  // atoi of the whole text: "+-12" reads as 0.
  return store(field, atoiWrapped(value), line);
}

int parseParameterIntegerSymbol(const char* key, const char* want, const char* value, int* field,
                                cfgLine* line) {
  if (std::strcmp(key, want) != 0) return -1;
  requireValue(value, *field != -1);
  int v;
  if (!numberValue(value, &v) && convertSymbolToInt(value, &v) != 0) unknownName(key, value);
  return store(field, v, line);
}

int parseParameterSymbolS(const char* key, const char* want, const char* value, int* field,
                          cfgLine* line) {
  if (std::strcmp(key, want) != 0) return -1;
  requireValue(value, false);
  std::string name(std::strlen(value) + 1, '\0');
  int v;
  if (processQuotaions(value, name.data(), name.size()) != 0)
    fail(std::string(value) + " is not a name in double quotes");
  if (convertSymbolToInt(name.c_str(), &v) != 0) unknownName(key, name.c_str());
  return store(field, v, line);
}

int parseParameterSymbol(const char* key, const char* want, const char* value, int* field,
                         cfgLine* line) {
  if (std::strcmp(key, want) != 0) return -1;
  requireValue(value, *field != -1);
  int v;
  if (convertSymbolToInt(value, &v) != 0) unknownName(key, value);
  return store(field, v, line);
}

int extractParameterIntegerSymbol(const char* key, const char* want, const char* value, int* field,
                                  cfgLine* line) {
  if (std::strcmp(key, want) != 0) return -1;
  requireValue(value, *field != -1);
  int v;
  if (numberValue(value, &v)) return store(field, v, line);
  const char* rest = separateIDAndInt(value);
  // Any other word is accepted and leaves the field unset.
  if (rest == nullptr) {
    diag::warn(quoted(value) + " is accepted and ignored: it does not start with " +
               kMediumTypeExPrefix);
    return 1;
  }
  if (convertCharToInt(rest, &v) != 0)
    fail(quoted(value) + " ends in neither four digits nor any, not_care, unknown, other");
  return store(field, v, line);
}

int processUUID(const char* text, unsigned char (&out)[16]) {
  if (std::strlen(text) <= 23) return -1;
  for (std::size_t at : {8u, 13u, 18u, 23u})
    if (text[at] != '-') return -1;
  char digits[33];
  std::size_t n = 0;
  for (const char* s = text; *s != '\0'; ++s) {
    if (*s == '-') continue;
    if (n == 32 || hexDigitValue(*s) < 0) return -1;
    digits[n++] = *s;
  }
  if (n != 32) return -1;
  for (std::size_t i = 0; i < 16; ++i)
    out[i] = static_cast<unsigned char>(hexDigitValue(digits[2 * i]) * 16 +
                                        hexDigitValue(digits[2 * i + 1]));
  return 0;
}

int parseParameterStringUUID(const char* key, const char* want, const char* value,
                             unsigned char (&field)[16], cfgLine*) {
  if (std::strcmp(key, want) != 0) return -1;
  requireValue(value, false);
  unsigned char uuid[16];
  if (processUUID(value, uuid) != 0)
    fail(std::string(value) + " is not a UUID of 32 hexadecimal digits in groups 8-4-4-4-12");
  std::memcpy(field, uuid, sizeof uuid);
  return 1;
}

int parseJobTime(const char* key, const char* want, const char* value, parameter* p,
                 cfgLine* line) {
  if (std::strcmp(key, want) != 0) return -1;
  requireValue(value, p->jobTime != -1);
  int v;
  if (allDigits(value)) {
    store(&p->jobTime, atoiWrapped(value), line);
    std::printf("%s=%d\n", key, p->jobTime);
    return 1;
  }
  if (convertSymbolToInt(value, &v) == 0) {
    store(&p->jobTime, v, line);
    std::printf("%s=%s\n", key, value);
    return 1;
  }
  // DD/DD/DDDD DD:DD:DD, optionally followed by " GMT".
  std::string date(std::strlen(value) + 1, '\0');
  const std::string notDate =
      std::string(value) + " is neither a number, a known name nor \"DD/DD/DDDD DD:DD:DD\"";
  if (processQuotaions(value, date.data(), date.size()) != 0) fail(notDate);
  const char* d = date.c_str();
  const std::size_t n = std::strlen(d);
  const bool gmt = n == 23 && std::strcmp(d + 19, " GMT") == 0;
  if ((n != 19 && !gmt) || d[2] != '/' || d[5] != '/' || d[10] != ' ' || d[13] != ':' ||
      d[16] != ':')
    fail(notDate);
  store(&p->jobTime, 2, line);
  p->jobTimeField1 = static_cast<std::uint16_t>(piece(d, 0, 2));
  p->jobTimeField2 = static_cast<std::uint16_t>(piece(d, 3, 2));
  p->jobTimeYear = static_cast<std::uint16_t>(piece(d, 6, 4));
  p->jobTimeHour = static_cast<std::uint8_t>(piece(d, 11, 2));
  p->jobTimeMinute = static_cast<std::uint8_t>(piece(d, 14, 2));
  p->jobTimeSecond = static_cast<std::uint8_t>(piece(d, 17, 2));
  if (gmt) p->jobTimeIsGMT = 1;
  std::printf("%s=%s\n", key, value);
  return 1;
}

int parseStartingPosition(const char* key, const char* want, const char* value, int* field,
                          int* sign, cfgLine* line) {
  return signedDecimal(key, want, value, field, sign, line);
}

int parseYOffset(const char* key, const char* want, const char* value, int* field, int* sign,
                 cfgLine* line) {
  return signedDecimal(key, want, value, field, sign, line);
}

int parseIndexLevel(const char* key, const char* want, const char* value,
                    const unsigned char** field, cfgLine* line) {
  if (std::strcmp(key, want) != 0) return -1;
  requireValue(value, false);
  const int levels = atoiWrapped(value);
  if (line != nullptr) line->numericValue = levels;
  // 0 (also any text that is not a number) means no reduction.
  if (levels == 0) return 1;
  const unsigned char* table = reductionTable(levels);
  if (table == nullptr) fail("no reduction to " + std::to_string(levels) + " levels");
  *field = table;
  return 1;
}

int checkParameterInteger(const char* key, int forbidden, const cfgLine* lines, int fromLine) {
  const cfgLine* line = lines;
  while (line != nullptr && line->lineNumber < fromLine) line = line->next.get();
  while (line != nullptr && std::strcmp(line->key.c_str(), key) != 0) line = line->next.get();
  // Named after the section being checked: its header is the line the search starts at.
  const cfgLine* header = lines;
  while (header != nullptr && header->lineNumber < fromLine) header = header->next.get();
  std::string section = header != nullptr ? header->key.c_str() : "";
  if (section.size() > 2 && section.front() == '[') section = section.substr(1, section.size() - 2);
  if (line == nullptr) diag::failJob({{}, fromLine, section, key, {}, "missing from the section"});
  if (line->numericValue == forbidden)
    diag::failJob({{}, line->lineNumber, section, key, line->value.c_str(), "has no usable value"});
  return 0;
}
