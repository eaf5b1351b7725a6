// The page. It needs nothing from elsewhere and runs no script: it can be sent as one file.

#ifndef TEXPROBECTL_PAGE_TEMPLATE_H
#define TEXPROBECTL_PAGE_TEMPLATE_H

namespace texprobe::ctl {

inline constexpr const char* kPageTemplate = R"html(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta name="color-scheme" content="light dark">
<meta name="generator" content="texprobectl {{version}}">
<title>{{title}}</title>
<link rel="icon" href="data:,">
<style>
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
  font: 1rem/1.5 system-ui, sans-serif;
}
a { color: var(--link); }
a:focus-visible, .table:focus-visible { outline: 3px solid var(--mark); outline-offset: 2px; }
.skip { position: absolute; left: -100rem; }
.skip:focus { position: static; }
h1 { font-size: 1.6rem; line-height: 1.2; margin: 0.5rem 0; }
h2 { font-size: 1.25rem; line-height: 1.3; margin: 2rem 0 0.5rem; }
h3 { font-size: 1.1rem; margin: 1.5rem 0 0.5rem; }
h4 { font-size: 1rem; margin: 1rem 0 0; font-family: ui-monospace, monospace; overflow-wrap: anywhere; }
h4 + p { margin: 0.25rem 0; }
figure { display: inline-block; margin: 0.25rem 1rem 0.25rem 0; }
figure img { display: block; border: 1px solid var(--line); image-rendering: pixelated; }
figcaption { color: var(--quiet); font-size: 0.9rem; }
.quiet { color: var(--quiet); }
dl { display: grid; grid-template-columns: max-content 1fr; gap: 0 1rem; margin: 0.5rem 0; }
dt { color: var(--quiet); }
dd { margin: 0; overflow-wrap: anywhere; }
.table { overflow-x: auto; margin: 1rem 0; }
table { border-collapse: collapse; width: 100%; font-size: 0.9rem; }
caption { text-align: left; color: var(--quiet); padding: 0.25rem 0; }
th, td { border: 1px solid var(--line); padding: 0.25rem 0.5rem; text-align: center; }
thead th { background: var(--band); font-weight: 600; vertical-align: bottom; }
tbody th { text-align: left; font-weight: 400; font-family: ui-monospace, monospace; overflow-wrap: anywhere; }
.yes { color: var(--yes); background: var(--yes-paper); }
.no, .crashed, .hung { color: var(--no); background: var(--no-paper); }
.crashed, .hung { font-weight: 700; }
.unmeasured, .some { color: var(--open); background: var(--open-paper); }
.not_applicable, .of_test { color: var(--quiet); }
pre { margin: 0; font-size: 0.8rem; }
.differs { box-shadow: inset 0 0 0 3px var(--mark); }
@media (max-width: 40rem) {
  body { padding: 0.75rem; }
  table { font-size: 0.72rem; table-layout: fixed; }
  th, td { padding: 0.3rem 0; }
  th:first-child { width: 27%; padding-left: 0.2rem; }
  thead th { font-weight: 400; font-size: 0.68rem; letter-spacing: -0.02em; }
  .crashed, .unmeasured { font-weight: 400; font-size: 0.62rem; letter-spacing: -0.04em; }
  dl { grid-template-columns: 1fr; }
  dd { margin-bottom: 0.25rem; }
}
@media print {
  :root {
    --paper: #ffffff; --ink: #000000; --quiet: #444444; --line: #999999; --band: #ffffff;
    --link: #000000; --yes: #000000; --yes-paper: #ffffff; --no: #000000; --no-paper: #dddddd;
    --open: #000000; --open-paper: #ffffff; --mark: #000000;
  }
  body { max-width: none; font-size: 10pt; }
  .table { overflow: visible; }
  section, figure, .no-inspected { break-inside: avoid; }
  nav, .skip { display: none; }
  td { print-color-adjust: exact; -webkit-print-color-adjust: exact; }
}
</style>
</head>
<body>
<a class="skip" href="#content">Skip to the content</a>
<header>
<h1>{{title}}</h1>
<p class="quiet">Sixteen texture formats by six capabilities, measured by texprobe. {{count}}</p>
</header>
{{#several}}<nav aria-label="Record sets">
<ul>
<li><a href="#rely">What to rely on</a></li>
{{#sets}}<li><a href="#set{{number}}">{{renderer}}</a> <span class="quiet">{{driver}}</span></li>
{{/sets}}</ul>
</nav>{{/several}}
<main id="content">
<section aria-labelledby="rely">
<h2 id="rely">What to rely on</h2>
<p>{{rely}}</p>
{{#several}}<div class="table" role="region" aria-label="On how many sets it works" tabindex="0">
<table>
<caption>On how many of the {{total}} sets it works</caption>
<thead><tr><th scope="col">format</th>{{#columns}}<th scope="col">{{name}}</th>{{/columns}}</tr></thead>
<tbody>
{{#rows}}<tr><th scope="row">{{{name}}}</th>{{#cells}}<td class="{{kind}}">{{text}}</td>{{/cells}}</tr>
{{/rows}}</tbody>
</table>
</div>{{/several}}
<dl>
<dt>create</dt><dd>A texture of the format can be created.</dd>
<dt>render</dt><dd>It can be a render target.</dd>
<dt>set</dt><dd>A sub-image upload from a pixel buffer object arrives as it was sent.</dd>
<dt>reset</dt><dd>A definition from a pixel buffer object arrives as it was sent.</dd>
<dt>get</dt><dd>A texture is read back into a pixel buffer object as it was rendered.</dd>
<dt>read</dt><dd>The framebuffer is read back into a pixel buffer object as it was rendered.</dd>
</dl>
</section>
{{#sets}}<section aria-labelledby="set{{number}}">
<h2 id="set{{number}}">{{renderer}}</h2>
<dl>
<dt>driver</dt><dd>{{driver}}</dd>
<dt>vendor</dt><dd>{{vendor}}</dd>
<dt>system build</dt><dd>{{build}}</dd>
<dt>verdicts</dt><dd>{{state}}</dd>
<dt>measurement</dt><dd>{{measured}}</dd>
<dt>identifier</dt><dd>{{id}}</dd>
</dl>
{{#isMeasured}}<div class="table" role="region" aria-label="Verdicts of {{renderer}}, set {{number}}" tabindex="0">
<table>
<caption>{{caption}}</caption>
<thead><tr><th scope="col">format</th>{{#columns}}<th scope="col">{{name}}</th>{{/columns}}</tr></thead>
<tbody>
{{#rows}}<tr><th scope="row">{{{name}}}</th>{{#cells}}<td class="{{kind}}">{{text}}</td>{{/cells}}</tr>
{{/rows}}</tbody>
</table>
</div>
{{/isMeasured}}{{#hasDetails}}<ul>
{{#details}}<li>{{text}}</li>
{{/details}}</ul>
{{/hasDetails}}{{#hasSurvey}}<h3>The formats of today</h3>
<div class="table" role="region" aria-label="Survey of {{renderer}}, set {{number}}" tabindex="0"><pre>{{survey}}</pre></div>
{{/hasSurvey}}{{#hasNoes}}<h3>What the driver did</h3>
{{#troubles}}<p>{{text}}</p>
{{/troubles}}{{#noes}}<div class="no-inspected">
<h4>{{test}}</h4>
<p>{{sentence}}</p>
{{#pictures}}<figure><img src="data:image/png;base64,{{{png}}}" width="128" height="128" alt="{{test}}: {{name}}"><figcaption>{{name}}</figcaption></figure>
{{/pictures}}</div>
{{/noes}}{{/hasNoes}}</section>
{{/sets}}{{{times}}}</main>
<footer class="quiet">
<p>A verdict is about one driver, one build of the system and images of 128 by 128 pixels. n/a: not
applicable, because a capability that it needs is a no. {{marked}}{{unseen}}</p>
<p>Written by texprobectl {{version}}.</p>
</footer>
</body>
</html>
)html";

}  // namespace texprobe::ctl

#endif
