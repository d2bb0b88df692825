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
  #from = 0; // the pixel of the rows that lies at the upper edge of what is seen
  #seen = 0; // pixels that are seen

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
    return Math.max(0, Math.floor(this.#from / this.#height));
  }

  // How many rows are seen at a time.
  get page() {
    return Math.max(1, Math.floor(this.#seen / this.#height));
  }

  // Reads what is seen of the rows. The browser lays out what has been written before, so this is best read first.
  measure() {
    const head = this.#scroller.querySelector(".list-head")?.offsetHeight ?? 0; // stays there while the rows scroll
    const [scroller, body] = [this.#scroller, this.#body].map((element) => element.getBoundingClientRect().top);
    this.#from = scroller + head - body;
    this.#seen = this.#scroller.clientHeight - head;
  }

  // So many rows of that height, in pixels, below `heads` rows of heads. Call `measure` before.
  set(count, height, heads) {
    this.#count = count;
    this.#height = height;
    this.#heads = heads;
    this.#body.style.setProperty("height", `${count * height}px`);
    for (const [number, element] of this.#made) {
      if (number < count) this.#put(element, number);
    }
    this.#from = Math.min(this.#from, Math.max(0, count * height - this.#seen)); // as the browser will have it
    this.#draw();
  }

  pin(number) {
    this.#pinned = number;
  }

  // Scrolls as little as shows the row whole.
  reveal(number) {
    this.measure();
    const top = number * this.#height;
    const below = top + this.#height - this.#from - this.#seen;
    if (top < this.#from) this.#scroller.scrollTop -= this.#from - top;
    else if (below > 0) this.#scroller.scrollTop += below;
    this.render();
  }

  // Scrolls so that the row is the first one seen.
  scrollTo(number) {
    this.measure();
    this.#scroller.scrollTop += number * this.#height - this.#from;
    this.render();
  }

  render() {
    this.measure();
    this.#draw();
  }

  #draw() {
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

  #wanted() {
    const first = Math.max(0, Math.floor((this.#from - beside) / this.#height));
    const end = Math.min(this.#count, Math.ceil((this.#from + this.#seen + beside) / this.#height));
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
