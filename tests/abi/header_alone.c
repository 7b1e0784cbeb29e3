/* The public header stands alone, as C11 and as C++17. */
#include <util_zvg.h>

int main(void) {
  return zvgType2Str(0) == 0;
}
