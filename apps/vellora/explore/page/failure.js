// What went wrong, why, and what can be done: in words that belong to the kind of failure.
import { foreign, make } from "./dom.js";

const kinds = {
  signIn: {
    title: "Sign in again",
    advice: "The token that vellora was started with is missing, wrong, or has run out. End vellora with Ctrl-C, put a new token into its token file, and start it again.",
  },
  forbidden: {
    title: "The server does not allow it",
    advice: "It knows who asks, and refuses. Somebody who looks after the server has to give this user the right to read its metadata.",
  },
  notFound: {
    title: "The server has nothing there",
    advice: "Is the address behind --server that of a records server? It may need a path behind its name.",
  },
  serverError: { title: "The server has trouble of its own", advice: "Try again in a while." },
  refused: { title: "The server refused the request", advice: "What it said may tell why." },
  unreachable: {
    title: "The server cannot be reached",
    advice: "Is this machine online, the address behind --server right, and the server running?",
  },
  timedOut: { title: "The server did not answer in time", advice: "Try again in a while." },
  tls: {
    title: "The server cannot be trusted",
    advice: "Its certificate is not valid, or not made out to it. Nothing was sent.",
  },
  unusable: {
    title: "The server's answer cannot be used",
    advice: "Is the address behind --server that of a records server? A page to sign in on may stand in its way.",
  },
  takenAway: { title: "Offline", advice: "The switch “Server reachable” gives it back." },
  other: { title: "Something went wrong", advice: "Try again; the reason may tell more." },
};

// The reason in one sentence: "Sign in again: the server said “…”".
export function reason({ kind, words, text }) {
  const { title } = kinds[kind] ?? kinds.other;
  return words ? `${title}: the server said “${words}”` : `${title}: ${text}`;
}

export function advice({ kind }) {
  return (kinds[kind] ?? kinds.other).advice;
}

// A failure within a part of the page: why, and what can be done. `text` stands for one of no kind.
export function failureNote(trouble, text) {
  if (!trouble) return make("p", { class: "failure" }, foreign(text));
  return make(
    "div",
    { class: "failure" },
    make("p", {}, foreign(reason(trouble))),
    make("p", { class: "quiet" }, trouble.words ? foreign(trouble.text) : "", trouble.words ? " · " : "", advice(trouble)),
  );
}
