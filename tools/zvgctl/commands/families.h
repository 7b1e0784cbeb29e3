// One function a command family: it adds its commands to the application.
#ifndef ZVGCTL_FAMILIES_H
#define ZVGCTL_FAMILIES_H

#include "zvgctl/context.h"

namespace CLI {
class App;
}

namespace zvgctl {

void add_info(CLI::App& application, Context& context);
void add_doctor(CLI::App& application, Context& context);
void add_reg(CLI::App& application, Context& context);
void add_vram(CLI::App& application, Context& context);
void add_crtc(CLI::App& application, Context& context);
void add_amba(CLI::App& application, Context& context);
void add_kmem(CLI::App& application, Context& context);
void add_pci(CLI::App& application, Context& context);
void add_ioport(CLI::App& application, Context& context);
void add_edid(CLI::App& application, Context& context);
void add_hdmi(CLI::App& application, Context& context);
void add_i2c(CLI::App& application, Context& context);
void add_ddc(CLI::App& application, Context& context);
void add_power(CLI::App& application, Context& context);
void add_video(CLI::App& application, Context& context);
void add_mcu(CLI::App& application, Context& context);
void add_dp(CLI::App& application, Context& context);
void add_mode_family(CLI::App& application, Context& context);
void add_panel(CLI::App& application, Context& context);
void add_vga(CLI::App& application, Context& context);
void add_gamma(CLI::App& application, Context& context);
void add_clock(CLI::App& application, Context& context);
void add_sensor(CLI::App& application, Context& context);
void add_fan(CLI::App& application, Context& context);
void add_query(CLI::App& application, Context& context);
void add_power_state(CLI::App& application, Context& context);
void add_env(CLI::App& application, Context& context);
void add_board_top(CLI::App& application, Context& context);
void add_flash(CLI::App& application, Context& context);
void add_script(CLI::App& application, Context& context);
void add_check_file(CLI::App& application, Context& context);
void add_read_file(CLI::App& application, Context& context);
void add_ddr(CLI::App& application, Context& context);
void add_axi(CLI::App& application, Context& context);

// Commands of the reg family that have a file of their own.
void add_snapshot(CLI::App& family, Context& context);
void add_diff(CLI::App& family, Context& context);

// The same of the ddr family.
void add_ddr_eye(CLI::App& family, Context& context);
void add_ddr_messages(CLI::App& family, Context& context);

}  // namespace zvgctl

#endif  // ZVGCTL_FAMILIES_H
