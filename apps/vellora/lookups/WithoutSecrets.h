#pragma once

#include "hostkit/secrets/KnownSecrets.h"
#include "vellora/Catalog/Answer.h"
#include "vellora/Catalog/Failure.h"
#include "vellora/Catalog/Missing.h"

namespace vellora::command {

/// The same failure, of the same request, whose text has none of the secrets: it may quote the server.
[[nodiscard]] Failure withoutSecrets(const Failure& failure, const hostkit::KnownSecrets& secrets);

[[nodiscard]] Missing withoutSecrets(const Missing& missing, const hostkit::KnownSecrets& secrets);

/// The same answer, whose reasons have none of the secrets. What was found is the server's data, and stays.
template <class T>
[[nodiscard]] Answer<T> withoutSecrets(Answer<T> answer, const hostkit::KnownSecrets& secrets) {
  for (auto& [key, missing] : answer.missing) missing = withoutSecrets(missing, secrets);
  if (answer.trouble) answer.trouble = withoutSecrets(*answer.trouble, secrets);
  return answer;
}

}  // namespace vellora::command
