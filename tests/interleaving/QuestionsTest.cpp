#include <chrono>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "testkit/ManualTimer.h"
#include "tests/interleaving/InterleavingTest.h"
#include "tests/interleaving/Tally.h"
#include "tests/interleaving/ThreadEachQueue.h"
#include "vellora/Catalog/Asked.h"
#include "vellora/Catalog/StopToken.h"

namespace vellora::tests::interleaving {
namespace {

using namespace std::chrono_literals;

/// Of a question of a catalogue: what ends it at one moment with what waits for its end.
class QuestionsTest : public InterleavingTest {
 protected:
  using Asked = detail::Asked<int>;

  /// A question for two keys, of which one is found already.
  struct Question {
    Question() {
      asked->begin(5s, StopToken());
      asked->write([](auto& sheet) { sheet.found("a", 1); });
    }

    void findTheOther() {
      asked->write([](auto& sheet) { sheet.found("b", 2); });
    }
    void comeToTheDeadline() { timer->advance(5s); }
    void cancel() {
      asked->cancel();
      isOver = true;
    }
    void destroyTheCatalogue() {
      gate->close();
      catalog.end();
      isOver = true;
    }
    static void expectWhole(const Answer<int>& answer) {
      expect(answer.found.size() + answer.missing.size() == 2, "each key is found or missing");
      expect(answer.end == End::answered || answer.missing.size() == 1, "what is missing is the other key");
    }

    /// What is left when no thread is.
    void expectOver() const {
      expect(asked->hasEnded(), "it has ended");
      expect(timer->pending() == 0, "no deadline is left");
      expect(catalog.size() == 0, "the catalogue has forgotten it");
    }

    bool isOver = false;
    std::shared_ptr<testkit::ManualTimer> timer = std::make_shared<testkit::ManualTimer>();
    std::shared_ptr<CallbackGate> gate = std::make_shared<CallbackGate>();
    SubscriptionScope catalog;
    std::shared_ptr<Asked> asked = std::make_shared<Asked>(
        std::vector<std::string>{"a", "b"},
        detail::Terms{std::make_shared<ThreadEachQueue>(), timer, gate, catalog, inquiry(timer)});
  };

  static std::shared_ptr<Inquiry> inquiry(const std::shared_ptr<TimedQueue>& timer) {
    const auto common = std::make_shared<Inquiry::Common>();
    common->timer = timer;
    return std::make_shared<Inquiry>(common, QuestionKind::types, 5s, std::make_shared<CallbackGate>());
  }

  static std::shared_ptr<Question> asked() { return std::make_shared<Question>(); }

  /// Has the answer taken on a thread of its own, which may be the last one to run. `least` is the number of
  /// calls that there must be.
  static void waitForTheAnswer(const std::shared_ptr<Question>& question, int least) {
    question->asked->whenEnded([question, tally = std::make_shared<Tally>(least, 1)] {
      expect(!question->isOver, "no callback runs afterwards");
      tally->note();
      Question::expectWhole(question->asked->take());
    });
  }
};

TEST_F(QuestionsTest, TheLastKeyMeetsTheDeadline) {
  tryEach([] {
    const auto question = asked();
    waitForTheAnswer(question, 1);
    atOnce({[&] { question->findTheOther(); }, [&] { question->comeToTheDeadline(); }});
    question->expectOver();
  });
}

TEST_F(QuestionsTest, ACancellationMeetsTheDeadlineAndTheLastKey) {
  tryEach(
      [] {
        const auto question = asked();
        waitForTheAnswer(question, 0);
        atOnce({[&] { question->cancel(); }, [&] { question->comeToTheDeadline(); },
                [&] { question->findTheOther(); }});
        question->expectOver();
      },
      1);
}

TEST_F(QuestionsTest, TheEndOfTheCatalogueMeetsTheLastKey) {
  tryEach([] {
    const auto question = asked();
    waitForTheAnswer(question, 0);
    atOnce({[&] { question->destroyTheCatalogue(); }, [&] { question->findTheOther(); }});
    question->expectOver();
  });
}

TEST_F(QuestionsTest, WhoBeginsToWaitMeetsTheEnd) {
  tryEach([] {
    const auto question = asked();
    atOnce({[&] { waitForTheAnswer(question, 1); }, [&] { question->comeToTheDeadline(); }});
    question->expectOver();
    Thread([question] { question->asked->awaitEnd(); }).join();
  });
}

TEST_F(QuestionsTest, AThreadThatBlocksGoesOnWhicheverEndComes) {
  tryEach(
      [] {
        const auto question = asked();
        atOnce({[&] {
                  question->asked->awaitEnd();
                  Question::expectWhole(question->asked->take());
                },
                [&] { question->findTheOther(); }, [&] { question->comeToTheDeadline(); }});
        question->expectOver();
      },
      1);
}

TEST_F(QuestionsTest, AQuestionThatIsAskedWhileTheCatalogueEndsIsGivenUp) {
  tryEach([] {
    const auto timer = std::make_shared<testkit::ManualTimer>();
    const auto gate = std::make_shared<CallbackGate>();
    const SubscriptionScope catalog;
    const auto question = std::make_shared<Asked>(
        std::vector<std::string>{"a"},
        detail::Terms{std::make_shared<ThreadEachQueue>(), timer, gate, catalog, inquiry(timer)});
    atOnce({[&] { question->begin(5s, StopToken()); }, [&] { catalog.end(); }});
    expect(question->hasEnded(), "it has ended");
    expect(timer->pending() == 0, "no deadline is left");
  });
}

}  // namespace
}  // namespace vellora::tests::interleaving
