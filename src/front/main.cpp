#include "front/entry.h"
#include "platform/process.h"

int main(int argc, char** argv) {
  return mrb::front::Run(mrb::platform::ProcessArguments(argc, argv));
}
