#include "report/style.h"

namespace tool {

const char* const kPageStyle = R"css(
:root {
  color-scheme: light dark;
  --paper: #fbfbfa; --sheet: #fff; --text: #1c2530; --faint: #5c6775; --rule: #d9dee4; --link: #1f5fa8;
  --grid: #e2e6eb; --axis: #5f6a78; --bar: #5486bd; --mean: #be390a; --median: #107054;
  --with: 70 130 200; --against: 224 130 40;
}
@media screen and (prefers-color-scheme: dark) {
  :root {
    --paper: #14181d; --sheet: #1b2027; --text: #e4e8ed; --faint: #9ba7b4; --rule: #343c46; --link: #82b4ec;
    --grid: #2c343d; --axis: #8592a0; --bar: #5d92cc; --mean: #ff9a6b; --median: #5fd0a5;
    --with: 70 130 205; --against: 200 110 30;
  }
}
* { box-sizing: border-box; }
body { margin: 0 auto; padding: 1.5rem clamp(1rem, 4vw, 3rem) 4rem; max-width: 82rem; background: var(--paper);
  color: var(--text); font: 1rem/1.5 system-ui, "DejaVu Sans", Verdana, sans-serif; overflow-wrap: anywhere; }
h1 { margin: 0; font-size: 1.75rem; line-height: 1.2; }
h2 { margin: 3rem 0 .25rem; padding-top: 1rem; border-top: 2px solid var(--rule); font-size: 1.35rem; line-height: 1.25; }
h3 { margin: 2rem 0 .5rem; font-size: 1.05rem; }
p { margin: .25rem 0; }
a { color: var(--link); }
.faint, caption { color: var(--faint); }
nav ul { margin: 1rem 0 0; padding: 0; list-style: none; display: flex; flex-wrap: wrap; gap: .25rem 1.25rem; }
.wide { overflow-x: auto; }
.wide:focus-visible { outline: 2px solid var(--link); outline-offset: 2px; }
table { border-collapse: collapse; font-size: .875rem; font-variant-numeric: tabular-nums; overflow-wrap: normal; }
caption { padding: 0 0 .4rem; text-align: left; }
th, td { padding: .3rem .6rem; border-bottom: 1px solid var(--rule); text-align: right; white-space: nowrap; }
thead th { border-bottom: 2px solid var(--rule); color: var(--faint); font-weight: 600; vertical-align: bottom; }
tbody th { position: sticky; left: 0; background: var(--paper); font-weight: 600; text-align: left; }
.left { text-align: left; }
.matrix td { border: 1px solid var(--paper); min-width: 3.5rem; }
.with { background: rgb(var(--with) / calc(var(--a) * .6)); }
.against { background: rgb(var(--against) / calc(var(--a) * .6)); }
.matrices { display: flex; flex-wrap: wrap; gap: 1.5rem 3rem; }
.matrices > .wide { max-width: 100%; }
.figures { display: grid; grid-template-columns: repeat(auto-fill, minmax(min(100%, 22rem), 1fr)); gap: 1rem; }
figure { margin: 0; padding: .5rem; background: var(--sheet); border: 1px solid var(--rule); border-radius: .4rem; }
svg { display: block; width: 100%; height: auto; }
svg text { font-family: system-ui, "DejaVu Sans", Verdana, sans-serif; }
.ink-ground { fill: var(--sheet); } .ink-bar { fill: var(--bar); } .ink-text { fill: var(--text); }
.ink-faint { fill: var(--faint); } text.ink-mean { fill: var(--mean); } text.ink-median { fill: var(--median); }
line.ink-grid { stroke: var(--grid); } line.ink-axis { stroke: var(--axis); }
line.ink-mean { stroke: var(--mean); } line.ink-median { stroke: var(--median); }
.nodes th { font-weight: 400; padding-left: calc(.6rem + 1.25rem * var(--d)); white-space: normal; min-width: 12rem; }
.remarks { padding: .75rem 1rem; border-left: 4px solid var(--mean); background: var(--sheet); }
@media print {
  body { max-width: none; padding: 0; font-size: 10pt; background: #fff; }
  nav { display: none; }
  .wide { overflow: visible; }
  tbody th { position: static; background: none; }
  table { font-size: 8pt; } th, td { padding: .15rem .35rem; }
  h2, h3, caption { break-after: avoid; }
  figure, tr { break-inside: avoid; }
  .figures { grid-template-columns: 1fr 1fr; }
  .with, .against, .ink-bar { print-color-adjust: exact; -webkit-print-color-adjust: exact; }
}
)css";

}  // namespace tool
