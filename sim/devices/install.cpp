#include "devices/install.h"

#include "devices/axi_monitor.h"
#include "devices/clock_block.h"
#include "devices/ddr_phy.h"
#include "devices/display_controllers.h"
#include "devices/dp_transmitter.h"
#include "devices/hdmi_transmitter.h"
#include "devices/i2c_chips.h"
#include "devices/i2c_master.h"
#include "devices/io_ports.h"
#include "devices/mcu.h"
#include "devices/pci_config.h"
#include "devices/pvt_sensors.h"
#include "devices/spi_controller.h"
#include "devices/vga.h"

namespace zvgsim {

namespace {

// Each device's own file knows where it stands; a new one is a line here.
using Installer = void (*)(Board&);
constexpr Installer installers[] = {
    install_vga,
    install_io_ports,
    install_pci_config,
    install_hdmi_transmitters,
    install_ddr_phys,
    install_axi_monitors,
    install_i2c_masters,
    install_i2c_chips,
    install_mcu,
    install_dp_transmitters,
    install_display_controllers,
    install_clock_block,
    install_pvt_sensors,
    install_spi_controller,
};

}  // namespace

void install_devices(Board& board) {
  for (const Installer install : installers) install(board);
}

}  // namespace zvgsim
