#include "cli/Command.h"

#include <stdexcept>

namespace quillon {

const OptionValue& Arguments::Find(std::string_view name) const {
    for (const OptionValue& value : m_values) {
        if (value.name == name) return value;
    }
    throw std::out_of_range("the command declares no " + std::string(name));
}

}  // namespace quillon
