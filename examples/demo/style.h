// How the page looks: on light and dark grounds, on a phone and on a desk.
#pragma once

inline constexpr const char* pageStyle = R"(
:root { color-scheme: light dark; --ink: #1d2433; --soft: #566079; --line: #e1e5ee;
  --ground: #f6f7fa; --card: #fff; --accent: #3050c8; --code: #f0f2f8; --check: #e4e8ef; }
@media (prefers-color-scheme: dark) {
  :root { --ink: #e8ebf2; --soft: #a0abc2; --line: #2b3346; --ground: #12161f; --card: #1a202c;
    --accent: #93aaff; --code: #232b3a; --check: #2a3244; } }
* { box-sizing: border-box; }
html { scroll-behavior: smooth; scroll-padding-top: 20px; }
body { margin: 0; background: var(--ground); color: var(--ink);
  font: 16px/1.55 system-ui, "Segoe UI", "DejaVu Sans", sans-serif; }
a { color: var(--accent); }
.page { display: grid; grid-template-columns: 220px minmax(0, 1fr); gap: 48px; max-width: 1460px;
  margin: 0 auto; padding: 0 32px 72px; }
nav { position: sticky; top: 0; align-self: start; max-height: 100vh; overflow-y: auto;
  padding: 44px 0 32px; font-size: 14.5px; }
nav strong { display: block; margin-bottom: 8px; }
nav ol { list-style: none; margin: 0; padding: 0; }
nav a { display: block; padding: 4px 10px; margin-left: -10px; border-radius: 7px;
  color: var(--soft); text-decoration: none; }
nav a:hover { background: var(--code); color: var(--ink); }
main { padding-top: 44px; min-width: 0; }
header { display: grid; grid-template-columns: minmax(0, 1fr) minmax(0, 1fr); gap: 44px;
  align-items: center; }
h1 { font-size: 42px; line-height: 1.1; letter-spacing: -0.02em; margin: 0 0 16px; }
header p { color: var(--soft); font-size: 17px; margin: 0 0 12px; }
header img { width: 100%; height: auto; border-radius: 14px; box-shadow: 0 14px 40px #0b143024; }
section { margin-top: 60px; }
h2 { font-size: 25px; line-height: 1.25; letter-spacing: -0.01em; margin: 0 0 4px; }
h3 { font-size: 15px; margin: 26px 0 10px; }
section > p { color: var(--soft); margin: 0 0 20px; max-width: 78ch; }
.row { display: grid; gap: 18px; margin-top: 18px;
  grid-template-columns: repeat(var(--wide), minmax(0, 1fr)); }
h3 + .row { margin-top: 0; }
figure { margin: 0; background: var(--card); border: 1px solid var(--line); border-radius: 12px;
  overflow: hidden; display: flex; flex-direction: column; scroll-margin-top: 20px; }
figure:target { outline: 3px solid var(--accent); outline-offset: 2px; }
figure a { display: block; }
figure img { display: block; width: 100%; height: auto; }
.fit figure a { position: relative; aspect-ratio: var(--aspect); }
.fit figure img { position: absolute; inset: 8px; width: calc(100% - 16px);
  height: calc(100% - 16px); object-fit: contain; }
figure a.alpha { background: conic-gradient(var(--check) 25%, var(--card) 0 50%,
  var(--check) 0 75%, var(--card) 0) 0 0 / 20px 20px; }
figcaption { padding: 12px 14px 13px; display: flex; flex-direction: column; gap: 7px; flex: 1; }
figcaption strong { font-weight: 600; line-height: 1.35; }
.facts { color: var(--soft); font-size: 13px; display: flex; flex-wrap: wrap; column-gap: 10px;
  justify-content: space-between; margin-top: auto; }
.time { color: var(--accent); font-weight: 600; font-variant-numeric: tabular-nums; }
code { font: 12.5px/1.5 ui-monospace, "SFMono-Regular", "DejaVu Sans Mono", monospace; }
figure code { background: var(--code); border-radius: 6px; padding: 6px 9px;
  overflow-wrap: anywhere; white-space: pre-line; }
.small { gap: 12px; }
.small figcaption { padding: 9px 10px 10px; gap: 5px; font-size: 14px; }
.small code { font-size: 11.5px; padding: 4px 6px; }
.small .facts { font-size: 12px; }
.index { columns: 3; column-gap: 24px; list-style: none; margin: 0; padding: 0; }
.index li { break-inside: avoid; padding: 2px 0; }
.index code { overflow-wrap: anywhere; }
.index a { text-decoration: none; }
.index a:hover { text-decoration: underline; }
footer { margin-top: 60px; padding-top: 18px; border-top: 1px solid var(--line);
  color: var(--soft); font-size: 14px; }
@media (max-width: 1120px) {
  .page { display: block; padding: 0 24px 56px; }
  nav { position: static; max-height: none; padding: 24px 0 0; }
  nav ol { display: flex; flex-wrap: wrap; gap: 6px; }
  nav a { margin: 0; background: var(--card); border: 1px solid var(--line); }
  main { padding-top: 28px; }
  .row { grid-template-columns: repeat(var(--mid), minmax(0, 1fr)); } }
@media (max-width: 720px) {
  .page { padding: 0 16px 40px; }
  nav a { padding: 5px 10px; }
  header { grid-template-columns: minmax(0, 1fr); gap: 20px; }
  h1 { font-size: 32px; }
  section { margin-top: 44px; }
  .row { grid-template-columns: minmax(0, 1fr); }
  .small, .detail { grid-template-columns: repeat(2, minmax(0, 1fr)); gap: 10px; }
  .small figure:last-child:nth-child(odd), .detail figure:last-child:nth-child(odd) {
    grid-column: span 2; }
  .detail figcaption { padding: 9px 10px 10px; font-size: 14px; }
  .detail code { font-size: 11.5px; padding: 4px 6px; }
  .index { columns: 2; } }
@media (max-width: 460px) { .index { columns: 1; } }
@media (prefers-reduced-motion: reduce) { html { scroll-behavior: auto; } }
)";
