// How do the pages look? For report_page.cpp only.

#pragma once

#include <string_view>

namespace trevix {

inline constexpr std::string_view kStyle = R"css(
:root{color-scheme:light dark;--bg:#f5f6f8;--card:#fff;--ink:#1b1f27;--soft:#5b6472;--line:#e1e5ea;
--code:#f1f3f6;--ship:#17774a;--route_to_fix:#9a5b00;--quarantine:#b43c14;--block:#b3172e;
--critical:#b3172e;--high:#b43c14;--medium:#9a5b00;--low:#5b6472;--link:#1d5fbf}
@media(prefers-color-scheme:dark){:root{--bg:#14171c;--card:#1d2128;--ink:#e8ebf0;--soft:#9aa4b2;
--line:#303641;--code:#262b34;--ship:#4fc98d;--route_to_fix:#e5aa4c;--quarantine:#f08a5d;
--block:#f5717f;--critical:#f5717f;--high:#f08a5d;--medium:#e5aa4c;--low:#9aa4b2;--link:#7fb0f7}}
*{box-sizing:border-box}
body{margin:0;background:var(--bg);color:var(--ink);
font:16px/1.5 system-ui,-apple-system,"Segoe UI",Roboto,"Noto Sans",sans-serif}
main{max-width:52rem;margin:0 auto;padding:1.5rem 1rem 4rem}
.brand{color:var(--soft);font-size:.875rem;margin:0 0 .75rem}
.brand a{color:inherit}
h1{font-size:1.5rem;line-height:1.25;margin:.35rem 0 .25rem}
h2{font-size:1.05rem;margin:2rem 0 .6rem}
h2 .count{color:var(--soft);font-weight:400}
h3{font-size:.95rem;margin:1rem 0 .5rem}
p{margin:.4rem 0}
.card>:last-child{margin-bottom:0}
a{color:var(--link)}
.card{background:var(--card);border:1px solid var(--line);border-radius:12px;padding:1.1rem 1.25rem}
.verdict{display:flex;gap:1.25rem;align-items:center}
.verdict>div{min-width:0;flex:1}
.ring{flex:none;width:6.25rem;height:6.25rem}
.ring circle{fill:none;stroke-width:9}
.ring .track{stroke:var(--line)}
.ring .value{stroke:currentColor;stroke-linecap:round}
.ring text{fill:var(--ink);font-size:27px;font-weight:650;text-anchor:middle}
.ring .of{fill:var(--soft);font-size:12px;font-weight:400}
.ship{color:var(--ship)}.route_to_fix{color:var(--route_to_fix)}
.quarantine{color:var(--quarantine)}.block{color:var(--block)}
.pill,.sev{display:inline-block;border:1.5px solid currentColor;border-radius:99px;font-weight:650;
padding:.05rem .7rem;font-size:.85rem}
.sev{font-size:.72rem;letter-spacing:.03em;padding:0 .55rem;border-width:1px}
.critical{color:var(--critical)}.high{color:var(--high)}.medium{color:var(--medium)}
.low{color:var(--low)}
.meta,.place,.rule,.what{color:var(--soft);font-size:.875rem}
.meta{margin:.9rem 0 0;display:grid;grid-template-columns:max-content 1fr;gap:.15rem 1rem}
.meta dt{margin:0}.meta dd{margin:0;color:var(--ink);min-width:0;overflow-wrap:anywhere}
.change{margin:.5rem 0 0;font-weight:600}.change .what{font-weight:400}
.flaws{list-style:none;margin:0;padding:0;display:grid;gap:.6rem}
.flaw{background:var(--card);border:1px solid var(--line);border-radius:10px;padding:.7rem 1rem;
border-left:4px solid var(--low)}
.flaw.f-critical{border-left-color:var(--critical)}.flaw.f-high{border-left-color:var(--high)}
.flaw.f-medium{border-left-color:var(--medium)}
.flaw .top{display:flex;flex-wrap:wrap;gap:.2rem .6rem;align-items:baseline}
.flaw .top b{font-weight:600}
.flaw p,.flaw .evidence{overflow-wrap:anywhere}
.evidence{display:block;white-space:pre-wrap;background:var(--code);border-radius:6px;
padding:.3rem .55rem;margin:.45rem 0 .3rem;font:.85rem/1.45 ui-monospace,SFMono-Regular,Menlo,
"DejaVu Sans Mono",monospace}
.rule{font:.78rem ui-monospace,SFMono-Regular,Menlo,"DejaVu Sans Mono",monospace}
.is-fixed .flaw{border-left-color:var(--ship);opacity:.8}
.is-fixed .flaw b{text-decoration:line-through;text-decoration-thickness:1px}
.none{color:var(--soft)}
details.card{padding:0;margin:0 0 .6rem}
details.card>summary{padding:.7rem 1rem;cursor:pointer;display:flex;flex-wrap:wrap;gap:.2rem .8rem;
align-items:baseline}
details.card>div{padding:0 1rem 1rem}
details .flaw{background:transparent}
code,pre{font-family:ui-monospace,SFMono-Regular,Menlo,"DejaVu Sans Mono",monospace}
pre{background:var(--code);border-radius:8px;padding:.75rem 1rem;overflow-x:auto;font-size:.85rem}
@media(max-width:34rem){.ring{width:4.75rem;height:4.75rem}.verdict{gap:.9rem}}
@media print{body{background:none}.card,.flaw{break-inside:avoid}}
)css";

} // namespace trevix
