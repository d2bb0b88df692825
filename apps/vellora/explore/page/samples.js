// What a value of a field's type might look like. Sizes and dates are made up; no record is read.
const samples = new Map([
  ["textarea", ["12 Mill Lane", "3 Quay Street", "48 Hill Road"]],
  ["address", ["12 Mill Lane, Ashby", "3 Quay Street, Rowe", "48 Hill Road, Dell"]],
  ["email", ["ada@example.org", "lin@example.org", "omar@example.org"]],
  ["phone", ["555 0101", "555 0102", "555 0103"]],
  ["url", ["www.example.org", "shop.example.org", "mill.example.org"]],
  ["date", ["3 Mar 2026", "17 Apr 2026", "9 Jun 2026"]],
  ["datetime", ["3 Mar 2026, 09:30", "17 Apr 2026, 14:05", "9 Jun 2026, 11:45"]],
  ["boolean", ["Yes", "No", "Yes"]],
  ["currency", ["1,250.00", "84.90", "12,000.00"]],
  ["double", ["12.5", "3.75", "48.0"]],
  ["int", ["12", "7", "48"]],
  ["percent", ["80 %", "25 %", "50 %"]],
  ["picklist", ["Open", "In progress", "Closed"]],
  ["reference", ["Ada Larch", "Lin Harbour", "Omar Mill"]],
]);

// For plain text. Columns take these in turn, so that they differ.
const texts = [
  ["Larch & Sons", "Blue Harbour", "Northern Mill"],
  ["Ashby", "Rowe", "Dell"],
  ["Cedar", "Alder", "Birch"],
  ["Ada Larch", "Lin Harbour", "Omar Mill"],
];

export const sampleCount = 3;

// The sample for a line of a column or, of a single record, for line 0 of its fields.
export function sample(type, line, column) {
  return (samples.get(String(type).toLowerCase()) ?? texts[column % texts.length])[line % sampleCount];
}
