// Printer models: roll printers of four widths and a sheet-fed one, all with the same inks.
#include "drivers.h"

#include <cstring>

#include "job.h"

namespace zp {
namespace {

// Every IPP value the printer announces and the configuration lines it becomes. docs list this
// table; a value missing here is not announced. Media sizes not listed go out as CUSTOM paper
// with their exact size; "{n}" takes the job's number (dots per inch, 0.1 mm, mm, copies,
// seconds).
const std::vector<KeyMapping> kTable = {
    // Paper: named sizes, short edge first.
    {"media", "iso_a4_210x297mm", "KELM", "PaperName", "\"A4\""},
    {"media", "iso_a3_297x420mm", "KELM", "PaperName", "\"A3\""},
    {"media", "iso_a2_420x594mm", "KELM", "PaperName", "\"A2\""},
    {"media", "iso_a1_594x841mm", "KELM", "PaperName", "\"A1\""},
    {"media", "iso_a0_841x1189mm", "KELM", "PaperName", "\"A0\""},
    {"media", "na_letter_8.5x11in", "KELM", "PaperName", "\"LETTER\""},
    {"media", "na_legal_8.5x14in", "KELM", "PaperName", "\"LEGAL\""},
    {"media", "na_ledger_11x17in", "KELM", "PaperName", "\"ANSIB\""},
    {"media", "na_c_17x22in", "KELM", "PaperName", "\"ANSIC\""},
    {"media", "na_d_22x34in", "KELM", "PaperName", "\"ANSID\""},
    {"media", "na_e_34x44in", "KELM", "PaperName", "\"ANSIE\""},
    {"media", "*named", "KELM", "PaperOrient", "\"SHORTEDGE\""},
    // Roll lengths and any other size: the size itself.
    {"media", "*custom", "KELM", "PaperName", "\"CUSTOM\""},
    {"media-size-width", "*", "KELM", "PaperSizeInDeciMilliMeterH", "{n}"},
    {"media-size-length", "*", "KELM", "PaperSizeInDeciMilliMeterV", "{n}"},
    // Margins in millimetres.
    {"media-top-margin", "*", "KELM", "MarginTop", "{n}"},
    {"media-bottom-margin", "*", "KELM", "MarginBottom", "{n}"},
    {"media-left-margin", "*", "KELM", "MarginLeft", "{n}"},
    {"media-right-margin", "*", "KELM", "MarginRight", "{n}"},
    {"printer-resolution", "300dpi", "KELM", "PrinterResolutionH", "300"},
    {"printer-resolution", "300dpi", "KELM", "PrinterResolutionV", "300"},
    {"printer-resolution", "600dpi", "KELM", "PrinterResolutionH", "600"},
    {"printer-resolution", "600dpi", "KELM", "PrinterResolutionV", "600"},
    {"printer-resolution", "1200dpi", "KELM", "PrinterResolutionH", "1200"},
    {"printer-resolution", "1200dpi", "KELM", "PrinterResolutionV", "1200"},
    // Media types onto the job's medium symbols.
    {"media-type", "stationery", "ZELP", "Medium", "id_val_medium_type_stationery"},
    {"media-type", "stationery-coated", "ZELP", "Medium", "id_val_medium_type_coated"},
    {"media-type", "stationery-heavyweight", "ZELP", "Medium", "id_val_medium_type_heavy_paper"},
    {"media-type", "cardstock", "ZELP", "Medium", "id_val_medium_type_card_stock"},
    {"media-type", "photographic-glossy", "ZELP", "Medium", "id_val_medium_type_glossy_paper"},
    {"media-type", "photographic-semi-gloss", "ZELP", "Medium",
     "id_val_medium_type_semi_glossy_paper"},
    {"media-type", "photographic-matte", "ZELP", "Medium", "id_val_medium_type_matte_film"},
    {"media-type", "transparency", "ZELP", "Medium", "id_val_medium_type_transparency"},
    {"media-type", "other", "ZELP", "Medium", "id_val_medium_type_other"},
    {"print-quality", "draft", "ZELP", "Quality", "id_val_print_quality_draft"},
    {"print-quality", "normal", "ZELP", "Quality", "id_val_print_quality_normal"},
    {"print-quality", "high", "ZELP", "Quality", "id_val_print_quality_high"},
    // Each page is its own print file; copies repeat the page.
    {"copies", "*", "ZELP", "JobImpressions", "{n}"},
    // Vendor options.
    {kVendorCutting, "none", "ZELP", "MediumCuttingType", "id_val_medium_cutting_type_none"},
    {kVendorCutting, "cut", "ZELP", "MediumCuttingType", "id_val_medium_cutting_type_cut"},
    {kVendorCutting, "cutline", "ZELP", "MediumCuttingType", "id_val_medium_cutting_type_cutline"},
    {kVendorCutting, "auto", "ZELP", "MediumCuttingType", "id_val_medium_cutting_type_auto"},
    {kVendorDryingMethod, "none", "ZELP", "InkDryingType",
     "id_val_marker_colorant_drying_type_none"},
    {kVendorDryingMethod, "auto", "ZELP", "InkDryingType",
     "id_val_marker_colorant_drying_type_auto"},
    {kVendorDryingMethod, "high", "ZELP", "InkDryingType",
     "id_val_marker_colorant_drying_type_level_high"},
    {kVendorDryingMethod, "normal", "ZELP", "InkDryingType",
     "id_val_marker_colorant_drying_type_level_normal"},
    {kVendorDryingMethod, "low", "ZELP", "InkDryingType",
     "id_val_marker_colorant_drying_type_level_low"},
    // A drying time sets the time method itself.
    {kVendorDryingMethod, "time", "ZELP", "InkDryingTime", "{n}"},
    // Colour: four 8-bit ink planes from one CMYK image; monochrome: one 8-bit gray plane.
    {"print-color-mode", "color", "Image", "ColorSpace",
     "kelm_id_val_image_format_row_kcmy_kccmmy_multi_level"},
    {"print-color-mode", "color", "Image", "NumOfPlanes", "4"},
    {"print-color-mode", "color", "Image", "PixelDepthK", "8"},
    {"print-color-mode", "color", "Image", "PixelDepthC", "8"},
    {"print-color-mode", "color", "Image", "PixelDepthM", "8"},
    {"print-color-mode", "color", "Image", "PixelDepthY", "8"},
    {"print-color-mode", "monochrome", "Image", "ColorSpace",
     "kelm_id_val_image_format_row_rgb_multi_level"},
    {"print-color-mode", "monochrome", "Image", "NumOfPlanes", "1"},
    {"print-color-mode", "monochrome", "Image", "PixelDepthK", "8"},
    {"printer-resolution", "*", "Image", "GraphicResolutionH", "{n}"},
    {"printer-resolution", "*", "Image", "GraphicResolutionV", "{n}"},
};

struct Model {
  const char* name;
  const char* description;
  int rollInches;  // 0: sheet-fed
};

constexpr Model kModels[] = {
    {"zelpgen_roll24", "zelpgen Large Format 24in roll", 24},
    {"zelpgen_roll36", "zelpgen Large Format 36in roll", 36},
    {"zelpgen_roll44", "zelpgen Large Format 44in roll", 44},
    {"zelpgen_roll60", "zelpgen Large Format 60in roll", 60},
    {"zelpgen_sheet", "zelpgen Large Format sheet-fed", 0},
};

pappl_pr_driver_t gDrivers[] = {
    {kModels[0].name, kModels[0].description, nullptr, nullptr},
    {kModels[1].name, kModels[1].description, nullptr, nullptr},
    {kModels[2].name, kModels[2].description, nullptr, nullptr},
    {kModels[3].name, kModels[3].description, nullptr, nullptr},
    {kModels[4].name, kModels[4].description, nullptr, nullptr},
};

// The short edge of a named size in hundredths of a millimetre.
int shortEdge(const char* pwgName) {
  pwg_media_t* media = pwgMediaForPWG(pwgName);
  return media != nullptr ? media->width : 0;
}

// Roll printers keep 5 mm at each side, sheets 3 mm.
constexpr int kRollMargin = 500;
constexpr int kSheetMargin = 300;
// The longest page on a roll: 50 m.
constexpr const char* kRollMaxLength = "1968.5in";

}  // namespace

const std::vector<KeyMapping>& keyTable() {
  return kTable;
}

std::vector<ConfigLine> mapValue(const std::string& attribute, const std::string& ippValue,
                                 long number) {
  std::vector<ConfigLine> lines;
  for (const KeyMapping& row : kTable) {
    if (attribute != row.attribute) continue;
    if (ippValue != row.ippValue && std::strcmp(row.ippValue, "*") != 0) continue;
    std::string value = row.value;
    if (const auto at = value.find("{n}"); at != std::string::npos) {
      value.replace(at, 3, std::to_string(number));
    }
    lines.push_back({row.section, row.key, value});
  }
  return lines;
}

std::vector<std::string> tableValues(const std::string& attribute) {
  std::vector<std::string> values;
  for (const KeyMapping& row : kTable) {
    if (attribute != row.attribute || row.ippValue[0] == '*') continue;
    if (values.empty() || values.back() != row.ippValue) values.emplace_back(row.ippValue);
  }
  return values;
}

int driverCount() {
  return static_cast<int>(sizeof gDrivers / sizeof gDrivers[0]);
}
pappl_pr_driver_t* driverList() {
  return gDrivers;
}

bool driverCallback(pappl_system_t* system, const char* driverName, const char* /*deviceUri*/,
                    const char* /*deviceId*/, pappl_pr_driver_data_t* data, ipp_t** attrs,
                    void* /*cbdata*/) {
  const Model* model = nullptr;
  for (const Model& m : kModels) {
    if (std::strcmp(m.name, driverName) == 0) model = &m;
  }
  if (model == nullptr) {
    papplLog(system, PAPPL_LOGLEVEL_ERROR, "Unknown driver '%s'.", driverName);
    return false;
  }

  data->printfile_cb = printNativeFile;
  data->rstartjob_cb = rasterStartJob;
  data->rstartpage_cb = rasterStartPage;
  data->rwriteline_cb = rasterWriteLine;
  data->rendpage_cb = rasterEndPage;
  data->rendjob_cb = rasterEndJob;
  data->format = kNativeFormat;
  std::snprintf(data->make_and_model, sizeof data->make_and_model, "%s", model->description);
  data->ppm = 1;
  data->ppm_color = 1;
  data->kind = PAPPL_KIND_DOCUMENT | PAPPL_KIND_PHOTO | PAPPL_KIND_POSTCARD;
  if (model->rollInches != 0) data->kind |= PAPPL_KIND_ROLL;
  data->color_supported =
      PAPPL_COLOR_MODE_AUTO | PAPPL_COLOR_MODE_COLOR | PAPPL_COLOR_MODE_MONOCHROME;
  data->color_default = PAPPL_COLOR_MODE_COLOR;
  data->raster_types = PAPPL_PWG_RASTER_TYPE_SGRAY_8 | PAPPL_PWG_RASTER_TYPE_SRGB_8;
  data->quality_default = IPP_QUALITY_NORMAL;
  data->orient_default = IPP_ORIENT_NONE;
  data->sides_supported = PAPPL_SIDES_ONE_SIDED;
  data->sides_default = PAPPL_SIDES_ONE_SIDED;
  data->duplex = PAPPL_DUPLEX_NONE;
  data->scaling_default = PAPPL_SCALING_AUTO;

  data->num_resolution = 3;
  const int dpi[] = {300, 600, 1200};
  for (int i = 0; i < 3; ++i) data->x_resolution[i] = data->y_resolution[i] = dpi[i];
  data->x_default = data->y_default = 600;

  const int margin = model->rollInches != 0 ? kRollMargin : kSheetMargin;
  data->borderless = false;
  data->left_right = margin;
  data->bottom_top = margin;

  // Named sizes that fit the roll (short edge across), then the roll's own range.
  static thread_local std::vector<std::string> names;
  names.clear();
  const int rollWidth = model->rollInches * 2540;
  for (const std::string& name : tableValues("media")) {
    if (rollWidth == 0 || shortEdge(name.c_str()) <= rollWidth) names.push_back(name);
  }
  data->num_media = 0;
  for (const std::string& name : names) data->media[data->num_media++] = strdup(name.c_str());
  if (model->rollInches != 0) {
    char text[64];
    std::snprintf(text, sizeof text, "roll_max_%dx%s", model->rollInches, kRollMaxLength);
    data->media[data->num_media++] = strdup(text);
    data->media[data->num_media++] = strdup("roll_min_4x4in");
  }

  data->num_source = 1;
  data->source[0] = model->rollInches != 0 ? "main-roll" : "main";

  std::vector<std::string> types = tableValues("media-type");
  data->num_type = 0;
  for (const std::string& type : types) data->type[data->num_type++] = strdup(type.c_str());

  const char* defaultSize = model->rollInches == 0    ? "iso_a4_210x297mm"
                            : model->rollInches >= 36 ? "iso_a0_841x1189mm"
                                                      : "iso_a1_594x841mm";
  if (model->rollInches == 36) defaultSize = "iso_a1_594x841mm";
  pwg_media_t* media = pwgMediaForPWG(defaultSize);
  pappl_media_col_t& def = data->media_default;
  std::snprintf(def.size_name, sizeof def.size_name, "%s", defaultSize);
  def.size_width = media->width;
  def.size_length = media->length;
  def.left_margin = def.right_margin = def.top_margin = def.bottom_margin = margin;
  std::snprintf(def.source, sizeof def.source, "%s", data->source[0]);
  std::snprintf(def.type, sizeof def.type, "stationery");
  data->media_ready[0] = def;

  // Vendor options: the operator's per-job settings.
  if (*attrs == nullptr) *attrs = ippNew();
  data->num_vendor = 0;
  data->vendor[data->num_vendor++] = kVendorCutting;
  data->vendor[data->num_vendor++] = kVendorDryingMethod;
  data->vendor[data->num_vendor++] = kVendorDryingTime;
  auto addKeywords = [&](const char* name, const char* defaultValue) {
    const std::vector<std::string> values = tableValues(name);
    std::vector<const char*> pointers;
    for (const std::string& v : values) pointers.push_back(v.c_str());
    const std::string supported = std::string(name) + "-supported";
    const std::string byDefault = std::string(name) + "-default";
    ippAddStrings(*attrs, IPP_TAG_PRINTER, IPP_TAG_KEYWORD, supported.c_str(),
                  static_cast<int>(pointers.size()), nullptr, pointers.data());
    ippAddString(*attrs, IPP_TAG_PRINTER, IPP_TAG_KEYWORD, byDefault.c_str(), nullptr,
                 defaultValue);
  };
  addKeywords(kVendorCutting, model->rollInches != 0 ? "auto" : "none");
  addKeywords(kVendorDryingMethod, "auto");
  ippAddRange(*attrs, IPP_TAG_PRINTER, "drying-time-supported", 0, 3600);
  ippAddInteger(*attrs, IPP_TAG_PRINTER, IPP_TAG_INTEGER, "drying-time-default", 0);
  return true;
}

const char* detectFormat(const unsigned char* header, size_t size, void* /*data*/) {
  // Every print file opens with a packet header.
  if (size >= 3 && header[0] == 0xCD && header[1] == 0xCA && header[2] == 0x10) {
    return kNativeFormat;
  }
  return nullptr;
}

}  // namespace zp
