// What the test of scripts/mutants changes: `first` is tested well, `second` is not, and `third` not at all.
namespace {

int calls = 0;

void note() {
  ++calls;
}

}  // namespace

constexpr int smaller(int a, int b) {
  if (a < b) return a;
  return b;
}

static_assert(smaller(1, 2) == 1);

bool first(int number) {
  note();
  return number > 3 && number != 5;
}

int second(int number) {
  int sum = 0;
  for (int at = 0; at < number; ++at) {
    if (at == 4) break;
    sum += at;
  }
  return sum;
}

bool third() {
  return !(calls > 1);
}

int callsSoFar() {
  return calls;
}
