#pragma once

#include <concepts>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "vellora/Platform/Json/Json.h"

namespace vellora::generate {

/// What a member holds, in terms that every language has.
///
/// Ownership: a plain value whose copies share what it is a list or an option of.
struct MemberType {
  enum class Kind { text, boolean, integer, number, record, list, optional };

  Kind kind = Kind::text;
  std::string record = {};                         ///< of a record: its name
  std::shared_ptr<const MemberType> of = nullptr;  ///< of a list or an optional: what is in it
};

/// A member of a record: its key in JSON, and its name.
struct Member {
  std::string key;
  std::string name;
  MemberType type;
};

/// A record as its field table declares it.
struct RecordType {
  std::string name;
  std::vector<Member> members;
};

/// Records, each after those that its members are of, but for itself.
using RecordTable = std::vector<RecordType>;

namespace detail {

template <class T>
inline constexpr bool isOptional = false;
template <class T>
inline constexpr bool isOptional<std::optional<T>> = true;
template <class T>
inline constexpr bool isList = false;
template <class T>
inline constexpr bool isList<std::vector<T>> = true;
template <class T>
inline constexpr bool isShared = false;
template <class T>
inline constexpr bool isShared<std::shared_ptr<T>> = true;

}  // namespace detail

/// Reads the field tables of records.
///
/// Ownership: owns the table until it is taken.
class Tables {
 public:
  /// Adds a record, and before it those that its members are of.
  template <class T>
  void add();

  [[nodiscard]] RecordTable taken() && { return std::move(table_); }

 private:
  template <class T>
  [[nodiscard]] MemberType typeOf();

  RecordTable table_;
  std::set<std::string, std::less<>> begun_;
};

/// What a member of type `T` holds. A type that no language has a counterpart for yet does not compile.
template <class T>
MemberType Tables::typeOf() {
  using namespace detail;
  using Kind = MemberType::Kind;
  if constexpr (std::same_as<T, std::string>) {
    return {Kind::text};
  } else if constexpr (std::same_as<T, bool>) {
    return {Kind::boolean};
  } else if constexpr (std::same_as<T, std::int64_t>) {
    return {Kind::integer};
  } else if constexpr (std::same_as<T, double>) {
    return {Kind::number};
  } else if constexpr (isOptional<T>) {
    return {Kind::optional, {}, std::make_shared<MemberType>(typeOf<typename T::value_type>())};
  } else if constexpr (isList<T>) {
    return {Kind::list, {}, std::make_shared<MemberType>(typeOf<typename T::value_type>())};
  } else if constexpr (isShared<T>) {
    return typeOf<typename T::element_type>();
  } else {
    static_assert(json::Record<T>);
    add<T>();
    return {Kind::record, std::string(T::recordName)};
  }
}

template <class T>
void Tables::add() {
  if (!begun_.emplace(T::recordName).second) return;  // a record may have members of its own type
  RecordType record{std::string(T::recordName), {}};
  const auto addMember = [&](const auto& field) {
    using Value = std::remove_cvref_t<std::invoke_result_t<decltype(field.member), const T&>>;
    record.members.push_back({std::string(field.key), std::string(field.name), typeOf<Value>()});
  };
  std::apply([&](const auto&... fields) { (addMember(fields), ...); }, T::fields());
  table_.push_back(std::move(record));
}

/// The records of answers, with all that they consist of. Another record that languages are to have is
/// another line of its source.
[[nodiscard]] RecordTable recordsOfAnswers();

}  // namespace vellora::generate
