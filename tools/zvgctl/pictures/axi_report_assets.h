// What report pages are made of: the files in report/, and the chart library.
#ifndef ZVGCTL_AXI_REPORT_ASSETS_H
#define ZVGCTL_AXI_REPORT_ASSETS_H

namespace zvgctl {

extern const char report_page[];
extern const char report_style[];
extern const char report_script[];
extern const char chart_licence[];
extern const char chart_style[];
extern const char chart_script[];

}  // namespace zvgctl

#endif  // ZVGCTL_AXI_REPORT_ASSETS_H
