#include "client/application_context.h"

namespace texprobe::tests {

std::unique_ptr<ApplicationContext> open_window(const Wish& wish) {
    return open_surfaceless(wish);
}

}  // namespace texprobe::tests
