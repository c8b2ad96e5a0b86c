#include <nlohmann/json.hpp>
#include <stdexcept>

#include "base/exact_json.h"
#include "output/outcome.h"

namespace tarnix::cli {

namespace {

// The fields of every part are in one list each, which serves both directions.
template <class Fields, class Part>
void fieldsOf(Fields& fields, Part& o, const ObjectiveOutcome*) {
  fields("name", o.name), fields("sense", o.sense), fields("value", o.value);
  fields("unit", o.unit);
}

template <class Fields, class Part>
void fieldsOf(Fields& fields, Part& o, const VariableOutcome*) {
  fields("name", o.name), fields("value", o.value), fields("unit", o.unit);
  fields("lower", o.lower), fields("upper", o.upper), fields("at", o.at);
  fields("multiplier", o.multiplier), fields("per_percent", o.perPercent);
}

template <class Fields, class Part>
void fieldsOf(Fields& fields, Part& o, const ConstraintOutcome*) {
  fields("name", o.name), fields("value", o.value), fields("unit", o.unit);
  fields("min", o.min), fields("max", o.max), fields("violation", o.violation);
  fields("active", o.active), fields("multiplier", o.multiplier);
  fields("per_percent", o.perPercent);
}

template <class Fields, class Part>
void fieldsOf(Fields& fields, Part& o, const StageOutcome*) {
  fields("method", o.method), fields("differences", o.differences), fields("status", o.status);
  fields("meaning", o.meaning), fields("iterations", o.iterations);
  fields("evaluations", o.evaluations);
}

template <class Fields, class Part>
void fieldsOf(Fields& fields, Part& o, const Verification*) {
  fields("same", o.same), fields("agrees", o.agrees), fields("text", o.text);
  fields("directory", o.directory);
}

template <class Fields, class Part>
void fieldsOf(Fields& fields, Part& o, const MinimumOutcome*) {
  fields("objective", o.objective), fields("times", o.times), fields("start", o.start);
  fields("x", o.x);
}

template <class Fields, class Part>
void fieldsOf(Fields& fields, Part& o, const MinimaOutcome*) {
  fields("found", o.found), fields("starts", o.starts), fields("unsuccessful", o.unsuccessful);
  fields("unseen", o.unseen);
}

template <class Fields, class Part>
void fieldsOf(Fields& fields, Part& o, const CatalogueOutcome*) {
  fields("proved", o.proved), fields("continuous", o.continuous), fields("bound", o.bound);
  fields("solves", o.solves);
}

template <class Fields, class Part>
void fieldsOf(Fields& fields, Part& o, const ConflictOutcome*) {
  fields("violation", o.violation), fields("constraints", o.constraints);
  fields("minimal", o.minimal);
}

template <class Fields, class Part>
void fieldsOf(Fields& fields, Part& o, const Outcome*) {
  fields("problem", o.problem), fields("success", o.success), fields("feasible", o.feasible);
  fields("reason", o.reason), fields("objective", o.objective), fields("violation", o.violation);
  fields("variables", o.variables), fields("constraints", o.constraints);
  fields("method", o.method), fields("status", o.status), fields("meaning", o.meaning);
  fields("advice", o.advice), fields("error", o.error), fields("iterations", o.iterations);
  fields("stages", o.stages), fields("verification", o.verification);
  fields("minima", o.minima), fields("catalogue", o.catalogue);
  fields("tolerance", o.tolerance), fields("noise", o.noise);
  fields("difference_step", o.differenceStep), fields("conflict", o.conflict);
  fields("evaluations", o.evaluations), fields("runs", o.runs);
  fields("failed", o.failed), fields("last_failure", o.lastFailure);
  fields("replayed", o.replayed), fields("seconds", o.seconds);
}

// What is absent, and a text that is empty, is omitted; units are always there.
class Writer {
 public:
  Json json = Json::object();

  template <class Value>
  void operator()(const char* key, const Value& value) {
    json[key] = written(value);
  }
  template <class Value>
  void operator()(const char* key, const std::optional<Value>& value) {
    if (value) json[key] = written(*value);
  }
  void operator()(const char* key, const std::string& value) {
    if (!value.empty() || std::string(key) == "unit") json[key] = value;
  }

 private:
  static Json written(bool value) { return value; }
  static Json written(int value) { return value; }
  static Json written(long value) { return value; }
  static Json written(double value) { return exact(value); }
  static Json written(const std::string& value) { return value; }
  template <class Part>
  static Json written(const Part& part) {
    Writer inner;
    fieldsOf(inner, part, static_cast<const Part*>(nullptr));
    return inner.json;
  }
  template <class Part>
  static Json written(const std::vector<Part>& parts) {
    Json list = Json::array();
    for (const Part& part : parts) list.push_back(written(part));
    return list;
  }
};

class Reader {
 public:
  explicit Reader(const Json& content) : json(content) {
    if (!json.is_object()) throw std::invalid_argument("not an object");
  }

  template <class Value>
  void operator()(const char* key, Value& value) {
    if (json.contains(key)) take(json.at(key), value);
  }
  template <class Value>
  void operator()(const char* key, std::optional<Value>& value) {
    if (json.contains(key)) take(json.at(key), value.emplace());
  }

 private:
  static void take(const Json& from, std::string& value) { value = from.get<std::string>(); }
  static void take(const Json& from, bool& value) { value = from.get<bool>(); }
  static void take(const Json& from, int& value) { value = from.get<int>(); }
  static void take(const Json& from, long& value) { value = from.get<long>(); }
  static void take(const Json& from, double& value) { value = number(from); }
  template <class Part>
  static void take(const Json& from, Part& part) {
    Reader inner(from);
    fieldsOf(inner, part, static_cast<const Part*>(nullptr));
  }
  template <class Part>
  static void take(const Json& from, std::vector<Part>& parts) {
    if (!from.is_array()) throw std::invalid_argument("not a list");
    for (const Json& one : from) take(one, parts.emplace_back());
  }

  const Json& json;
};

}  // namespace

Json toJson(const Outcome& outcome) {
  Writer writer;
  writer.json["version"] = 1;  // of what the keys mean
  fieldsOf(writer, outcome, static_cast<const Outcome*>(nullptr));
  return writer.json;
}

Outcome outcomeFrom(const Json& json) {
  Outcome outcome;
  Reader reader(json);
  for (const char* key : {"problem", "success", "feasible", "reason"}) (void)json.at(key);
  fieldsOf(reader, outcome, static_cast<const Outcome*>(nullptr));
  return outcome;
}

}  // namespace tarnix::cli
