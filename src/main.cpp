#include "Pelorus.h"

int main() {
  return PelorusMain();
}
