// How the page looks.

#ifndef TEXPROBECTL_PAGE_STYLE_H
#define TEXPROBECTL_PAGE_STYLE_H

namespace texprobe::ctl {

inline constexpr const char* kPageStyle = R"html(<style>
:root {
  color-scheme: light dark;
  --paper: #ffffff; --ink: #1b1f24; --quiet: #57606a; --line: #d0d7de; --band: #f6f8fa;
  --link: #0550ae; --yes: #116329; --yes-paper: #dafbe1; --no: #a40e26; --no-paper: #ffebe9;
  --open: #6f4400; --open-paper: #fff8c5; --mark: #8250df;
}
@media (prefers-color-scheme: dark) {
  :root {
    --paper: #0d1117; --ink: #e6edf3; --quiet: #9aa4af; --line: #30363d; --band: #161b22;
    --link: #79c0ff; --yes: #7ee787; --yes-paper: #12261e; --no: #ffa198; --no-paper: #2d1418;
    --open: #f2cc60; --open-paper: #2b230f; --mark: #d2a8ff;
  }
}
* { box-sizing: border-box; }
body {
  margin: 0 auto; padding: 1rem; max-width: 60rem; background: var(--paper); color: var(--ink);
  font: 1rem/1.5 system-ui, sans-serif; overflow-wrap: anywhere;
}
a { color: var(--link); }
a:focus-visible, .table:focus-visible { outline: 3px solid var(--mark); outline-offset: 2px; }
.skip { position: absolute; left: -100rem; }
.skip:focus { position: static; }
h1 { font-size: 1.6rem; line-height: 1.2; margin: 0.5rem 0; }
h2 { font-size: 1.25rem; line-height: 1.3; margin: 2rem 0 0.5rem; }
h3 { font-size: 1.1rem; margin: 1.5rem 0 0.5rem; }
nav ul { display: flex; flex-wrap: wrap; gap: 0 1.5rem; margin: 0; padding: 0; list-style: none; }
main { display: flex; flex-direction: column; }
.why { margin: 1rem 0 0; }
.why + ul { margin: 0; }
.why:target { outline: 3px solid var(--mark); outline-offset: 2px; }
figure { margin: 0.5rem 0; }
figure div { display: inline-block; margin: 0 1rem 0.5rem 0; font-size: 0.9rem; }
figure img { display: block; border: 1px solid var(--line); image-rendering: pixelated; }
.quiet, figcaption { color: var(--quiet); }
dl { display: grid; grid-template-columns: minmax(6rem, max-content) 1fr; gap: 0.25rem 1rem; margin: 0.5rem 0; }
dt { color: var(--quiet); }
dd { margin: 0; }
.table { overflow-x: auto; margin: 0.5rem 0; }
table { border-collapse: collapse; width: 100%; font-size: 0.9rem; }
caption { text-align: left; color: var(--quiet); padding: 0.25rem 0; }
th, td { border: 1px solid var(--line); padding: 0.25rem 0.5rem; text-align: center; overflow-wrap: normal; }
thead th { background: var(--band); font-weight: 600; vertical-align: bottom; }
tbody th { text-align: left; font-weight: 400; font-family: ui-monospace, monospace; }
td span { display: block; }
td a { color: inherit; }
.yes { color: var(--yes); background: var(--yes-paper); }
.no, .crashed, .hung { color: var(--no); background: var(--no-paper); }
.crashed, .hung { font-weight: 700; }
.unmeasured, .some { color: var(--open); background: var(--open-paper); }
.not_applicable, .of_test { color: var(--quiet); }
@media screen and (min-width: 40.01rem) {
  wbr { display: none; }
}
@media screen and (max-width: 40rem) {
  body { padding: 0.75rem; }
  main > :nth-child(3) { order: -1; }
  table { font-size: 0.72rem; }
  th, td { padding: 0.3rem 0.1rem; }
  thead th { font-weight: 400; }
  dl { grid-template-columns: 6rem 1fr; gap: 0.25rem; }
  ul { padding-left: 1.2rem; }
}
@media print {
  :root {
    --paper: #ffffff; --ink: #000000; --quiet: #444444; --line: #999999; --band: #ffffff;
    --link: #000000; --yes: #000000; --yes-paper: #ffffff; --no: #000000; --no-paper: #dddddd;
    --open: #000000; --open-paper: #ffffff; --mark: #000000;
  }
  body { max-width: none; font-size: 10pt; }
  main { display: block; }
  .table { overflow: visible; }
  h2, h3, caption, .why { break-after: avoid; }
  tr, figure, footer { break-inside: avoid; }
  figure div { margin-right: 0.5rem; }
  figure img { width: 5.5cm; height: 5.5cm; }
  footer { break-before: avoid; }
  tbody tr:first-child { break-before: avoid; }
  nav, .skip, td wbr { display: none; }
  td { print-color-adjust: exact; -webkit-print-color-adjust: exact; }
}
</style>
)html";

}  // namespace texprobe::ctl

#endif
