// What can be wrong with the bridge.
#ifndef ZVGSIM_DEVICES_AMBA_AMBA_FAULTS_H
#define ZVGSIM_DEVICES_AMBA_AMBA_FAULTS_H

namespace zvgsim {

struct AmbaFaults {
  bool never_answers = false;
};

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_AMBA_AMBA_FAULTS_H
