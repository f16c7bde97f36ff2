#include <ostream>

#include <nlohmann/json.hpp>

#include "lab/check/report/CheckReport.h"

namespace korvan::lab::check {
namespace {

using nlohmann::ordered_json;

void writeLine(std::ostream& out, const ordered_json& object) {
  // What a host sent need not be UTF-8.
  out << object.dump(-1, ' ', false, ordered_json::error_handler_t::replace) << '\n' << std::flush;
}

}  // namespace

void JsonReport::end(const CheckRecord& record) {
  const Findings& findings = record.result.findings;
  ordered_json line = {{"check", record.check->name},
                       {"result", nameOf(record.result.outcome)},
                       {"sent", findings.sent},
                       {"wanted", findings.wanted},
                       {"got", findings.got},
                       {"hint", findings.hint},
                       {"see", "docs/host-protocol.md#" + std::string(record.check->see)},
                       {"milliseconds", record.duration.count()}};
  if (!record.programErrors.empty()) {
    line["programErrors"] = record.programErrors;
  }
  writeLine(out_, line);
}

void JsonReport::finish(const Counts& counts) {
  writeLine(out_, {{"passed", counts.passed},
                   {"failed", counts.failed},
                   {"warned", counts.warned},
                   {"skipped", counts.skipped}});
}

}  // namespace korvan::lab::check
