#include "bench/fleet/Costs.h"

#include <optional>
#include <string_view>
#include <utility>

#include <toml++/toml.h>

#include "bench/fleet/FleetError.h"

namespace vellora::fleet {

namespace {

/// Reads numbers, and notes the first that cannot be used.
class Reader {
 public:
  Reader(const toml::table& table, std::string file) : table_(table), file_(std::move(file)) {}

  Cost cost(std::string_view section) {
    return {number(section, "request_bytes"), number(section, "answer_bytes"),
            number(section, "processor_seconds")};
  }

  [[nodiscard]] const std::optional<FleetError>& trouble() const { return trouble_; }

 private:
  double number(std::string_view section, std::string_view name) {
    const auto found = table_[section][name].value<double>();
    if (found && *found >= 0) return *found;
    if (!trouble_)
      trouble_ =
          FleetError{file_ + ": " + std::string(section) + '.' + std::string(name) + " is no number from 0"};
    return 0;
  }

  const toml::table& table_;
  const std::string file_;
  std::optional<FleetError> trouble_;
};

}  // namespace

Result<Costs> Costs::read(const std::string& file) {
  try {
    const auto table = toml::parse_file(file);
    Reader reader(table, file);
    const Costs costs{{reader.cost("types"), reader.cost("themes")},
                      {reader.cost("types_packed"), reader.cost("themes_packed")},
                      {reader.cost("types_unchanged"), reader.cost("themes_unchanged")},
                      reader.cost("refused")};
    if (reader.trouble()) return Error(*reader.trouble());
    return costs;
  } catch (const toml::parse_error& error) {
    return Error(FleetError{file + ": " + std::string(error.description())});
  }
}

}  // namespace vellora::fleet
