#include "hostkit/secrets/KnownSecrets.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "tests/support/TokenCanary.h"

namespace vellora::hostkit {
namespace {

using vellora::tests::TokenCanary;

TEST(KnownSecretsTest, KnowsNothingAtFirstAndLeavesTextsAsTheyAre) {
  KnownSecrets secrets;
  secrets.note("");
  EXPECT_EQ(secrets.cleaned("abc-secret99\n\xff"), "abc-secret99\n\xff");
}

TEST(KnownSecretsTest, ReplacesPartsThatOverlapAsOne) {
  KnownSecrets secrets;
  secrets.note("abc-secret99");
  secrets.note("secret99-xyz");
  EXPECT_EQ(secrets.cleaned("<abc-secret99-xyz> <ret99-xyz>"), "<[token]> <[token]>");
  EXPECT_EQ(secrets.cleaned("secret"), "[token]");
}

TEST(KnownSecretsTest, KeepsTheLatestOnes) {
  KnownSecrets secrets;
  secrets.note("first-111111");
  secrets.note("second-22222");
  for (std::size_t other = 2; other < KnownSecrets::mostKept; ++other) {
    secrets.note(std::string(12, static_cast<char>('a' + other)));
  }
  secrets.note("first-111111");  // in use again
  secrets.note("latest-55555");
  EXPECT_EQ(secrets.cleaned("first-111111 second-22222 latest-55555"), "[token] second-22222 [token]");
}

TEST(KnownSecretsTest, NeitherNoSecretNorOneThatIsKnownTakesAnothersPlace) {
  KnownSecrets secrets;
  secrets.note("first-111111");
  for (std::size_t other = 1; other < KnownSecrets::mostKept; ++other) {
    secrets.note(std::string(12, static_cast<char>('a' + other)));
  }
  EXPECT_EQ(secrets.cleaned("first-111111"), "[token]") << "there is room for so many";
  for (std::size_t time = 0; time < KnownSecrets::mostKept; ++time) {
    secrets.note("");
    secrets.note("bbbbbbbbbbbb");
  }
  EXPECT_EQ(secrets.cleaned("first-111111"), "[token]");
}

TEST(KnownSecretsTest, FindsATokenInEveryFormThatASearchForItTries) {
  const TokenCanary canary;
  KnownSecrets secrets;
  secrets.note(canary.token());
  const auto traces = canary.traces();
  ASSERT_GT(traces.size(), 200U);
  for (const std::string& trace : traces) {
    EXPECT_TRUE(canary.isIn("name: " + trace + ", label")) << trace;
    EXPECT_FALSE(canary.isIn(secrets.cleaned("name: " + trace + ", label"))) << trace;
  }
}

TEST(KnownSecretsTest, OfALongSecretLooksForTheFirstPart) {
  std::string secret;
  for (int i = 0; secret.size() < KnownSecrets::longest; ++i) secret += std::to_string(i) + "~";
  secret.resize(KnownSecrets::longest);
  KnownSecrets secrets;
  secrets.note(secret + "beyond-it");
  EXPECT_EQ(secrets.cleaned(secret), "[token]");
  EXPECT_EQ(secrets.cleaned("beyond-it"), "beyond-it");
}

TEST(KnownSecretsTest, CleansTextsWhileSecretsComeIn) {
  KnownSecrets secrets;
  secrets.note("abc-secret99");
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 3; ++thread) {
    threads.emplace_back([&secrets, thread] {
      for (int i = 0; i < 50; ++i) {
        secrets.note("abc-secret99");
        secrets.note("other-" + std::to_string(thread));
        EXPECT_EQ(secrets.cleaned("(abc-secret99)"), "([token])");
      }
    });
  }
  for (auto& thread : threads) thread.join();
}

}  // namespace
}  // namespace vellora::hostkit
