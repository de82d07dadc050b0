#include <cstdio>

int main() {
  std::puts("tervo 12.9");
  return 0;
}
