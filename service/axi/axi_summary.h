// The summaries of the AXI monitors of RQ301.
#ifndef ZVG_SERVICE_AXI_AXI_SUMMARY_H
#define ZVG_SERVICE_AXI_AXI_SUMMARY_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "service/json.h"

namespace zvg {

struct AxiSummary {
  std::string port;
  std::vector<std::pair<std::string, uint32_t>> counters;  // English label and value

  // Null when the monitor does not count that.
  const uint32_t* find(const std::string& label) const;
};

// A counter's key is its label in snake_case.
Json to_json(const AxiSummary& summary);

// One pass over all ports. *text gets the library's own text, with its Chinese labels. Throws an
// Error when the library could not write it down.
std::vector<AxiSummary> read_axi_summaries(std::string* text);

}  // namespace zvg

#endif  // ZVG_SERVICE_AXI_AXI_SUMMARY_H
