// The server that is looked at, and the theme in which.
export const server = { address: "", theme: "" };
