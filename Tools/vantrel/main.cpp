#include <iostream>

int main() {
  std::cout << "vantrel " << VANTREL_VERSION << "\n";
  return 0;
}
