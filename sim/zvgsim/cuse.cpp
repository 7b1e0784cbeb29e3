// The driver's node as a real character device, through the kernel's CUSE.
#define FUSE_USE_VERSION 31
#include <cuse_lowlevel.h>
#include <errno.h>
#include <fcntl.h>
#include <fuse_opt.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <stdexcept>

#include "doors/cuse_door.h"
#include "machine/machine.h"
#include "zvgsim/commands.h"
#include "zvgsim/layout.h"

namespace zvgsim {

namespace {

constexpr char kernel_node[] = "/dev/cuse";

// What a served node needs at hand while the kernel calls back.
struct Service {
  CuseDoor door;
  std::string path;
  std::optional<unsigned> mode;
};

std::vector<iovec> to_iovecs(const std::vector<CallerRange>& ranges) {
  std::vector<iovec> vectors;
  for (const CallerRange& range : ranges) {
    vectors.push_back({reinterpret_cast<void*>(static_cast<uintptr_t>(range.address)), range.size});
  }
  return vectors;
}

void on_ioctl(fuse_req_t request, int number, void* argument, fuse_file_info*, unsigned,
              const void* in, size_t in_size, size_t) {
  Service& service = *static_cast<Service*>(fuse_req_userdata(request));
  const CuseDoor::Reply reply = service.door.ioctl(
      static_cast<unsigned>(number), reinterpret_cast<uintptr_t>(argument), in, in_size);
  if (!reply.fetch.empty()) {
    const auto fetch = to_iovecs(reply.fetch), fill = to_iovecs(reply.fill);
    fuse_reply_ioctl_retry(request, fetch.data(), fetch.size(), fill.data(), fill.size());
  } else if (reply.error != 0) {
    fuse_reply_err(request, reply.error);
  } else {
    fuse_reply_ioctl(request, 0, reply.out.data(), reply.out.size());
  }
}

// The driver's node is for requests only.
void on_read(fuse_req_t request, size_t, off_t, fuse_file_info*) {
  fuse_reply_err(request, EINVAL);
}
void on_write(fuse_req_t request, const char*, size_t, off_t, fuse_file_info*) {
  fuse_reply_err(request, EINVAL);
}

// The node is there.
void on_ready(void* userdata) {
  const Service& service = *static_cast<Service*>(userdata);
  if (service.mode && chmod(service.path.c_str(), *service.mode) != 0) {
    fprintf(stderr, "zvgsim: cannot change the mode of %s: %s\n", service.path.c_str(),
            strerror(errno));
  }
  printf("%s\n", service.path.c_str());
  fflush(stdout);
}

// Says what to do before libfuse would say less.
void require_kernel_node() {
  const int fd = open(kernel_node, O_RDWR | O_CLOEXEC);
  if (fd >= 0) {
    close(fd);
    return;
  }
  const int error = errno;
  const std::string why = std::string("cannot open ") + kernel_node + ": " + strerror(error) + ": ";
  switch (error) {
    case ENOENT:
    case ENODEV:
    case ENXIO:
      throw std::runtime_error(why +
                               "load the kernel's module as root, with modprobe cuse (in a "
                               "container, on its host). Without it: zvgsim run");
    case EACCES:
    case EPERM:
      throw std::runtime_error(why +
                               "only root may make devices: use sudo. Without it: zvgsim run");
    default:
      throw std::runtime_error(why + "see zvgsim run for a board without a device node");
  }
}

struct Teardown {
  void operator()(fuse_session* session) const { cuse_lowlevel_teardown(session); }
};

}  // namespace

int cuse(const CuseOptions& options) {
  BoardConfig config = load_board_file(find_board(options.board));
  const std::string path = "/dev/" + options.name;
  struct stat there;
  if (lstat(path.c_str(), &there) == 0) {
    throw std::runtime_error(path +
                             " is there already: a driver's, or another zvgsim's. Give this one "
                             "another --name");
  }
  require_kernel_node();
  // Not before: the board may write its files at its end, and another may be using them.
  Machine machine(std::move(config), VirtualClock::Mode::real_time);
  Service service = {CuseDoor(machine), path, options.mode};
  std::unique_ptr<FILE, int (*)(FILE*)> trace(nullptr, fclose);
  if (!options.trace.empty()) {
    trace.reset(fopen(options.trace.c_str(), "we"));
    if (!trace) {
      throw std::runtime_error("cannot write the trace to " + options.trace + ": " +
                               strerror(errno));
    }
    machine.trace().start(trace.get());
  }

  cuse_lowlevel_ops operations = {};
  operations.init_done = on_ready;
  operations.read = on_read;
  operations.write = on_write;
  operations.ioctl = on_ioctl;
  const std::string device = "DEVNAME=" + options.name;
  const char* information[] = {device.c_str()};
  cuse_info info = {};
  info.dev_info_argc = 1;
  info.dev_info_argv = information;
  info.flags = CUSE_UNRESTRICTED_IOCTL;
  char program[] = "zvgsim", foreground[] = "-f", one_thread[] = "-s";
  char* arguments[] = {program, foreground, one_thread};
  int threads = 0;
  const std::unique_ptr<fuse_session, Teardown> session(
      cuse_lowlevel_setup(3, arguments, &info, &operations, &threads, &service));
  if (!session) throw std::runtime_error("the kernel did not take the device " + path);

  // One request at a time, as the bus has them. Ends with the signal that asked for it.
  const int end = fuse_session_loop(session.get());
  for (size_t card = 0; card < machine.cards(); ++card) machine.card(card).save();
  if (end < 0) {
    throw std::runtime_error("serving " + path + " failed: " + strerror(-end));
  }
  if (end == 0) throw std::runtime_error("the kernel took " + path + " away");
  return exit_done;
}

}  // namespace zvgsim
