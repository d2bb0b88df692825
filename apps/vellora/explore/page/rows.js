// Of many rows of one height, keeps those in the page that are seen, some beside them, and one that is pinned: where
// the focus is, or would go.

const beside = 300; // pixels above and below what is seen, so that scrolling finds them there

export class Rows {
  #scroller;
  #body;
  #fill;
  #made = new Map(); // elements by the row's number
  #count = 0;
  #height = 1;
  #heads = 0;
  #pinned = 0;

  // `fill(element, number)` puts into a row what belongs there, and leaves it as it is where it holds that already.
  constructor(scroller, body, fill) {
    this.#scroller = scroller;
    this.#body = body;
    this.#fill = fill;
  }

  get height() {
    return this.#height;
  }

  // The row that lies at the upper edge of what is seen.
  get first() {
    return Math.max(0, Math.floor(this.#seenFrom() / this.#height));
  }

  // How many rows are seen at a time.
  get page() {
    return Math.max(1, Math.floor(this.#seenHeight() / this.#height));
  }

  // So many rows of that height, in pixels, below `heads` rows of heads.
  set(count, height, heads) {
    this.#count = count;
    this.#height = height;
    this.#heads = heads;
    this.#body.style.setProperty("height", `${count * height}px`);
    for (const [number, element] of this.#made) {
      if (number < count) this.#put(element, number);
    }
    this.render();
  }

  pin(number) {
    this.#pinned = number;
  }

  // Scrolls as little as shows the row whole.
  reveal(number) {
    const top = number * this.#height;
    const from = this.#seenFrom();
    if (top < from) this.scrollTo(number);
    else if (top + this.#height > from + this.#seenHeight()) this.#scroller.scrollTop += top + this.#height - from - this.#seenHeight();
    this.render();
  }

  // Scrolls so that the row is the first one seen.
  scrollTo(number) {
    this.#scroller.scrollTop += number * this.#height - this.#seenFrom();
    this.render();
  }

  render() {
    const wanted = this.#wanted();
    for (const [number, element] of this.#made) {
      if (wanted.has(number)) continue;
      element.remove();
      this.#made.delete(number);
    }
    let before = null;
    for (const number of [...wanted].sort((a, b) => a - b)) {
      const element = this.#made.get(number) ?? this.#make(number);
      if (!element.isConnected) before === null ? this.#body.prepend(element) : before.after(element);
      before = element;
    }
  }

  // What lies above the rows and stays there while they scroll.
  #headHeight() {
    return this.#scroller.querySelector(".list-head")?.offsetHeight ?? 0;
  }

  #seenFrom() {
    const [scroller, body] = [this.#scroller, this.#body].map((element) => element.getBoundingClientRect().top);
    return scroller + this.#headHeight() - body;
  }

  #seenHeight() {
    return this.#scroller.clientHeight - this.#headHeight();
  }

  #wanted() {
    const from = this.#seenFrom() - beside;
    const to = this.#seenFrom() + this.#seenHeight() + beside;
    const first = Math.max(0, Math.floor(from / this.#height));
    const end = Math.min(this.#count, Math.ceil(to / this.#height));
    const wanted = new Set();
    for (let number = first; number < end; ++number) wanted.add(number);
    if (this.#pinned < this.#count) wanted.add(this.#pinned);
    return wanted;
  }

  #make(number) {
    const element = document.createElement("div");
    element.className = "row-of-types";
    element.setAttribute("role", "row");
    this.#made.set(number, element);
    this.#put(element, number);
    return element;
  }

  #put(element, number) {
    element.setAttribute("aria-rowindex", number + 1 + this.#heads);
    element.style.setProperty("translate", `0 ${number * this.#height}px`);
    this.#fill(element, number);
  }
}
