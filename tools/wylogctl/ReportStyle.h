#ifndef WYLOGCTL_REPORTSTYLE_H
#define WYLOGCTL_REPORTSTYLE_H

// The style of the page. Colours are variables, so that a dark screen gets others: s1 requests, s2
// refusals, k1 to k5 the most frequent keys, k0 all others. The colours of keys are told apart by
// people who do not see red and green, too.

constexpr const char* WyReportStyle = R"(
:root{--page:#f5f5f2;--card:#fff;--ink:#1b1b19;--soft:#62615c;--line:#e3e2dc;--bad:#b3261e;
--s1:#2a78d6;--s2:#d1495b;--k1:#2a78d6;--k2:#eb6834;--k3:#1baf7a;--k4:#b98900;--k5:#a55fb5;
--k0:#a3a29b}
@media(prefers-color-scheme:dark){:root{--page:#141413;--card:#1e1e1c;--ink:#f1f0ea;--soft:#a9a8a1;
--line:#353531;
--bad:#ff8a80;--s1:#4b93e8;--s2:#e8697a;--k1:#4b93e8;--k2:#e0743f;--k3:#27b583;--k4:#cf9d1a;
--k5:#bd7dcc;--k0:#77766f}}
*{box-sizing:border-box}
body{margin:0 auto;max-width:1320px;padding:24px;background:var(--page);color:var(--ink);
font:15px/1.45 system-ui,sans-serif}
header{display:flex;flex-wrap:wrap;align-items:baseline;gap:4px 16px;margin-bottom:16px}
h1{font-size:24px;margin:0;overflow-wrap:anywhere}h2{font-size:17px;margin:0}
header p,.what{margin:0;color:var(--soft)}
.totals{list-style:none;display:grid;grid-template-columns:repeat(auto-fit,minmax(130px,1fr));
gap:12px;padding:0;margin:0 0 12px}
.totals li,section{background:var(--card);border:1px solid var(--line);border-radius:8px}
.totals li{padding:12px 16px}.totals b{display:block;font-size:26px;line-height:1.2;font-weight:600}
.totals span{color:var(--soft)}.totals .bad b{color:var(--bad)}
section{padding:16px;margin-bottom:12px}
.beside{display:grid;grid-template-columns:minmax(0,3fr) minmax(0,2fr);gap:24px;margin-top:12px;
align-items:start}
.beside>:only-child{grid-column:1/-1}
.chart{display:block;overflow:visible}.chart text{fill:var(--soft);font-size:12px;
paint-order:stroke;stroke:var(--card);stroke-width:3px}.chart .t{text-anchor:middle}
.grid{stroke:var(--line)}.axis{stroke:var(--soft)}
.chart rect{stroke:var(--card);stroke-width:1px}.chart g:hover rect{opacity:.7}
.s1{fill:var(--s1)}.s2{fill:var(--s2)}.k0{fill:var(--k0);background:var(--k0)}.k1{fill:var(--k1);
background:var(--k1)}
.k2{fill:var(--k2);background:var(--k2)}.k3{fill:var(--k3);background:var(--k3)}
.k4{fill:var(--k4);background:var(--k4)}.k5{fill:var(--k5);background:var(--k5)}
.spark{fill:var(--k1);display:block}
.legend{list-style:none;display:flex;flex-wrap:wrap;gap:4px 16px;padding:0;margin:4px 0 0;
font-size:13px;overflow-wrap:anywhere}
.legend span{display:inline-block;width:10px;height:10px;border-radius:2px;margin-right:6px}
.table{overflow:auto}.beside .table{max-height:300px}.beside+.table{margin-top:16px}
table{border-collapse:collapse;width:100%;font-size:14px}
caption{text-align:left;color:var(--soft);padding-bottom:4px}
th{text-align:left;font-weight:600;color:var(--soft);border-bottom:1px solid var(--line);
white-space:nowrap}
th,td{padding:5px 12px 5px 0;vertical-align:top}td{border-bottom:1px solid var(--line);
overflow-wrap:anywhere}
.name{min-width:7em}.short{white-space:nowrap}.n{text-align:right;font-variant-numeric:tabular-nums;
white-space:nowrap}
.text{min-width:16em;white-space:pre-wrap;font:12px/1.5 ui-monospace,monospace}
.error td:first-child{color:var(--bad)}
.none{margin:0;padding:24px;text-align:center;color:var(--soft);border:1px dashed var(--line);
border-radius:8px}
body>.none{margin-bottom:12px}
footer{color:var(--soft);font-size:13px;margin-top:16px}
@media(max-width:800px){body{padding:12px}.beside{grid-template-columns:minmax(0,1fr)}}
@media print{body{max-width:none}.beside .table{max-height:none}section{break-inside:avoid}}
)";

#endif
