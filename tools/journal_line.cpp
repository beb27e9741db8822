#include "journal_line.h"

#include <algorithm>
#include <charconv>

#include <nlohmann/json.hpp>

#include "hash.h"
#include "journal_scan.h"

namespace tavo::tools {
namespace {

using Json = nlohmann::ordered_json;

std::string to_line(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

bool is_utf8(const std::string& text) {
  try {
    (void)Json(text).dump();
    return true;
  } catch (const Json::type_error&) {
    return false;
  }
}

// Needs neither escapes nor a look at its encoding.
bool is_plain(const std::string& text) {
  return std::ranges::all_of(text,
                             [](char c) { return c >= 0x20 && c < 0x7F && c != '"' && c != '\\'; });
}

std::string quoted(const std::string& text) {
  if (is_plain(text)) return '"' + text + '"';
  return Json(text).dump(-1, ' ', false, Json::error_handler_t::replace);
}

// What JSON cannot hold of a name stands beside it, in hexadecimal digits.
std::string name_pair(const std::string& key, const std::string& name) {
  const std::string pair = '"' + key + "\":" + quoted(name);
  if (is_plain(name) || is_utf8(name)) return pair;
  return pair + ",\"" + key + "_hex\":\"" + to_hex(std::string_view(name)) + '"';
}

std::string number_pair(const char* key, int64_t number) {
  return ",\"" + std::string(key) + "\":" + std::to_string(number);
}

std::string get_name(const Json& json, const std::string& key) {
  const auto hex = json.find(key + "_hex");
  if (hex != json.end() && hex->is_string()) return from_hex(hex->get_ref<const std::string&>());
  return json.value(key, std::string());
}

uint64_t get_hash(const Json& json, const char* key) {
  const std::string digits = json.value(key, std::string());
  uint64_t number = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), number, 16);
  return number;
}

// Null for what is no object of these types.
Json parse(std::string_view line) {
  Json json = Json::parse(line, nullptr, false);
  return json.is_object() ? json : Json();
}

JournalEntry to_entry(const Json& json) {
  JournalEntry entry;
  entry.input = get_name(json, "input");
  entry.size = json.value("size", int64_t{-1});
  entry.mtime = json.value("mtime", int64_t{-1});
  for (const Json& output : json.at("outputs"))
    entry.outputs.push_back(
        {get_name(output, "name"), output.value("size", int64_t{-1}), get_hash(output, "hash")});
  entry.pages = json.value("pages", 0);
  const std::string outcome = json.at("outcome");
  const auto at = std::ranges::find(kOutcomeNames, outcome);
  if (at == kOutcomeNames.end()) entry.input.clear();
  entry.outcome = static_cast<Outcome>(at - kOutcomeNames.begin());
  entry.status = json.value("status", 0);
  entry.text = json.value("text", std::string());
  entry.ms = json.value("ms", int64_t{0});
  return entry;
}

}  // namespace

int64_t JournalEntry::bytes_out() const {
  int64_t sum = 0;
  for (const MadeFile& output : outputs) sum += output.size;
  return sum;
}

Tally tally_of(const JournalEntry& entry) {
  return {entry.outcome, std::max<int64_t>(entry.size, 0), entry.bytes_out(), entry.ms};
}

void Totals::add(const Tally& tally) {
  ++files;
  ++by_outcome[static_cast<size_t>(tally.outcome)];
  bytes_in += tally.bytes_in;
  bytes_out += tally.bytes_out;
  ms += tally.ms;
}

void Totals::remove(const Tally& tally) {
  --files;
  --by_outcome[static_cast<size_t>(tally.outcome)];
  bytes_in -= tally.bytes_in;
  bytes_out -= tally.bytes_out;
  ms -= tally.ms;
}

std::string to_line(const JournalHead& head) {
  Json json;
  json["tavo"] = head.version;
  json["hash"] = "xxh64";
  json["options"] = to_hex(head.options);
  json["list"] = to_hex(head.list);
  json["files"] = head.files;
  json["shard"] = head.shard.index;
  json["shards"] = head.shard.count;
  return to_line(json);
}

// There is one for every file: written by hand it takes a tenth of the time.
std::string to_line(const JournalEntry& entry) {
  std::string line = '{' + name_pair("input", entry.input) + number_pair("size", entry.size) +
                     number_pair("mtime", entry.mtime) + ",\"outputs\":[";
  for (const MadeFile& output : entry.outputs) {
    if (&output != entry.outputs.data()) line += ',';
    line += '{' + name_pair("name", output.name) + number_pair("size", output.size) +
            ",\"hash\":\"" + to_hex(output.hash) + "\"}";
  }
  line += ']' + number_pair("pages", entry.pages) + ",\"outcome\":\"" +
          kOutcomeNames[static_cast<size_t>(entry.outcome)] + '"' +
          number_pair("status", entry.status) + ",\"text\":" + quoted(entry.text) +
          number_pair("ms", entry.ms);
  return line + "}\n";
}

std::string end_line(const Totals& totals, bool is_finished) {
  Json json;
  json["end"] = is_finished ? "finished" : "interrupted";
  json["files"] = totals.files;
  for (size_t i = 0; i < kOutcomes; ++i) json[kOutcomeNames[i]] = totals.by_outcome[i];
  json["bytes_in"] = totals.bytes_in;
  json["bytes_out"] = totals.bytes_out;
  json["ms"] = totals.ms;
  return to_line(json);
}

std::optional<JournalHead> parse_head(std::string_view line) {
  const Json json = parse(line);
  if (!json.contains("tavo")) return std::nullopt;
  try {
    JournalHead head;
    head.version = json.at("tavo");
    head.options = get_hash(json, "options");
    head.list = get_hash(json, "list");
    head.files = json.at("files");
    head.shard = {json.at("shard"), json.at("shards")};
    return head;
  } catch (const Json::exception&) {
    return std::nullopt;
  }
}

std::optional<JournalEntry> parse_entry(std::string_view line) {
  if (auto entry = scan_entry(line)) return entry;
  const Json json = parse(line);
  if (!json.contains("input")) return std::nullopt;
  try {
    JournalEntry entry = to_entry(json);
    if (entry.input.empty()) return std::nullopt;
    return entry;
  } catch (const Json::exception&) {
    return std::nullopt;
  }
}

bool says_finished(std::string_view line) {
  return line.starts_with(R"({"end":"finished")") && !parse(line).is_null();
}

}  // namespace tavo::tools
