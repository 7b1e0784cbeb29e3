// Kernel virtual memory, read and written by the driver.
#include "core/driver_requests.h"

namespace zvg::core {

namespace {

// One record for every request of the process.
hw::driver::KmemRecord kmem_record;

template <typename Value>
int kmem_read(uint64_t address, Value* value) {
  kmem_record = {address, ZVG_OP_READ, sizeof(Value), 0};
  const int result = issue(hw::driver::request_kmem, &kmem_record, address);
  *value = static_cast<Value>(kmem_record.value);
  return result;
}

template <typename Value>
int kmem_write(uint64_t address, Value value) {
  kmem_record = {address, ZVG_OP_WRITE, sizeof(Value), value};
  return issue(hw::driver::request_kmem, &kmem_record, address);
}

}  // namespace

}  // namespace zvg::core

using zvg::core::kmem_read;
using zvg::core::kmem_write;

int zvgKmemReadByte(uint64_t address, uint8_t* value) {
  return kmem_read(address, value);
}
int zvgKmemReadWord(uint64_t address, uint16_t* value) {
  return kmem_read(address, value);
}
int zvgKmemReadLong(uint64_t address, uint32_t* value) {
  return kmem_read(address, value);
}
int zvgKmemReadQuad(uint64_t address, uint64_t* value) {
  return kmem_read(address, value);
}
int zvgKmemWriteByte(uint64_t address, uint8_t value) {
  return kmem_write(address, value);
}
int zvgKmemWriteWord(uint64_t address, uint16_t value) {
  return kmem_write(address, value);
}
int zvgKmemWriteLong(uint64_t address, uint32_t value) {
  return kmem_write(address, value);
}
int zvgKmemWriteQuad(uint64_t address, uint64_t value) {
  return kmem_write(address, value);
}
