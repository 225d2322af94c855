#include "JsonText.h"

#include <memory>

#include <json/reader.h>
#include <json/writer.h>

#include "Log.h"
#include "NW_Common.h"
#include "vconf.h"

namespace json_text {

bool ReadStrictly(const std::string& text, Json::Value& document) {
  Json::CharReaderBuilder builder;
  Json::CharReaderBuilder::strictMode(&builder.settings_);
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  std::string errors;
  if (!reader->parse(text.data(), text.data() + text.size(), &document, &errors)) {
    NW_LOG("reader.parse() - return false errs=%s", errors.c_str());
    return false;
  }
  return true;
}

std::string Write(const Json::Value& document) {
  return Json::writeString(Json::StreamWriterBuilder(), document);
}

std::string ReadKey(const char* key) {
  const HeapString value(vconf_get_str(key));
  return value == nullptr ? "" : value.get();
}

}  // namespace json_text
