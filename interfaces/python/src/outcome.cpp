#include "outcome.h"

#include <pybind11/stl.h>

#include <vector>

#include "calls.h"

namespace tarnix::python {

namespace {

py::object arrayOf(const std::vector<double>& values) {
  return python::arrayOf(values.data(), values.size());
}

py::dict toDict(const Design& design) {
  py::dict d;
  d["x"] = arrayOf(design.x);
  d["values"] = arrayOf(design.values);
  d["violation"] = design.violation;
  d["evaluation"] = design.evaluation;
  return d;
}

py::dict toDict(const Stage& stage) {
  py::dict d;
  d["method"] = name(stage.settings.method);
  d["differences"] = name(stage.settings.differences);
  d["difference_step"] = stage.settings.differenceStep;
  d["tolerance"] = stage.settings.tolerance;
  d["start"] = arrayOf(stage.settings.x);
  d["status"] = stage.status;
  d["reason"] = name(stage.reason);
  d["meaning"] = stage.meaning;
  d["iterations"] = stage.iterations;
  d["evaluations"] = stage.evaluations;
  d["end"] = toDict(stage.end);
  d["stationary"] = stage.stationary;
  d["on_invented_side"] = stage.onInventedSide;
  return d;
}

py::dict toDict(const ActiveLimit& limit) {
  py::dict d;
  d["name"] = limit.name;
  d["kind"] = name(limit.kind);
  d["limit"] = limit.limit;
  d["multiplier"] = limit.multiplier;
  d["per_percent"] = limit.perPercent;
  return d;
}

py::dict toDict(const Report& report) {
  py::dict d;
  py::list active;
  for (const ActiveLimit& limit : report.active) active.append(toDict(limit));
  d["active"] = active;
  d["gradient"] = arrayOf(report.gradient);
  d["sensitivity"] = arrayOf(report.sensitivity);
  d["optimality"] = report.optimality;
  d["slope"] = report.slope;
  return d;
}

py::dict toDict(const Conflict& conflict) {
  py::dict d;
  d["point"] = toDict(conflict.point);
  d["violation"] = conflict.violation;
  d["constraints"] = py::cast(conflict.constraints);
  d["minimal"] = conflict.minimal;
  return d;
}

py::dict toDict(const WarmStart& warm) {
  py::dict d;
  d["x"] = arrayOf(warm.x);
  d["values"] = arrayOf(warm.values);
  d["jacobian"] = arrayOf(warm.jacobian);
  d["multipliers"] = arrayOf(warm.multipliers);
  d["noise"] = warm.noise;
  return d;
}

}  // namespace

WarmStart warmStartOf(const py::dict& d) {
  const auto vector = [&d](const char* name) { return d[name].cast<std::vector<double>>(); };
  return {vector("x"), vector("values"), vector("jacobian"), vector("multipliers"),
          d["noise"].cast<double>()};
}

py::dict toDict(const Description& description) {
  py::list variables, functions;
  for (const auto& v : description.variables)
    variables.append(py::make_tuple(v.name, v.start, v.lower, v.upper));
  for (const auto& f : description.functions)
    functions.append(py::make_tuple(f.name, name(f.relation), f.lower, f.upper, f.scale));
  py::dict d;
  d["variables"] = variables;
  d["functions"] = functions;
  d["has_objective"] = description.hasObjective;
  d["maximized"] = description.maximized;
  return d;
}

py::dict toDict(const Result& r) {
  py::dict d;
  d["success"] = r.success;
  d["feasible"] = r.feasible;
  d["reason"] = name(r.reason);
  d["method"] = name(r.method);
  d["status"] = r.status;
  d["meaning"] = r.meaning;
  d["advice"] = r.advice;
  d["point"] = toDict(r.point);
  d["best"] = r.best ? py::object(toDict(*r.best)) : py::object(py::none());
  py::list stages;
  for (const Stage& stage : r.stages) stages.append(toDict(stage));
  d["stages"] = stages;
  d["search_lower"] = arrayOf(r.searchLower);
  d["search_upper"] = arrayOf(r.searchUpper);
  d["noise"] = r.noise;
  d["difference_step"] = r.differenceStep;
  d["tolerance"] = r.tolerance;
  d["conflict"] = r.conflict ? py::object(toDict(*r.conflict)) : py::object(py::none());
  d["warm"] = toDict(r.warm());
  d["iterations"] = r.iterations;
  d["evaluations"] = r.evaluations;
  d["seconds"] = r.seconds;
  d["report"] = r.report ? py::object(toDict(*r.report)) : py::object(py::none());
  d["summary"] = r.summary();
  return d;
}

}  // namespace tarnix::python
