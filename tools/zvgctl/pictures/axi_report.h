// The report page of an AXI sampling run.
#ifndef ZVGCTL_AXI_REPORT_H
#define ZVGCTL_AXI_REPORT_H

#include <string>
#include <vector>

#include "service/axi/axi_tables.h"

namespace zvgctl {

// One HTML page that needs nothing else: curves of every port, totals, the ports with timeouts.
// source: where the tables are from. problems: what is wrong with them, for the page to say.
std::string axi_report(const std::vector<zvg::AxiTable>& tables, const std::string& source,
                       const std::vector<std::string>& problems);

}  // namespace zvgctl

#endif  // ZVGCTL_AXI_REPORT_H
