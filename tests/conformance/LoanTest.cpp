#include "conformance/Loan.h"

#include <gtest/gtest.h>

#include <latch>
#include <optional>
#include <string>
#include <thread>
#include <utility>

namespace vellora::conformance {
namespace {

TEST(LoanTest, LendsWhileItLasts) {
  std::string book = "a book";
  const Loan<std::string> loan(book);
  loan.borrower()([](std::string& lent) { lent += ", read"; });
  EXPECT_EQ(book, "a book, read");
}

TEST(LoanTest, ABorrowerWhoComesAfterItsEndGetsNothing) {
  std::string book = "a book";
  std::optional<Loan<std::string>> loan(std::in_place, book);
  const auto borrow = loan->borrower();
  loan.reset();
  borrow([](std::string&) { ADD_FAILURE() << "it was given back"; });
}

TEST(LoanTest, ItsEndWaitsForWhoUsesWhatIsLent) {
  std::string book = "a book";
  std::optional<Loan<std::string>> loan(std::in_place, book);
  std::latch reads(1);
  bool wasRead = false;
  std::thread reader([&, borrow = loan->borrower()] {
    borrow([&](std::string&) {
      reads.count_down();
      for (int page = 0; page < 1000; ++page) std::this_thread::yield();
      wasRead = true;
    });
  });
  reads.wait();
  loan.reset();
  EXPECT_TRUE(wasRead);
  reader.join();
}

}  // namespace
}  // namespace vellora::conformance
