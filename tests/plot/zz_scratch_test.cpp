#include "plot_support.h"
#include <chrono>
#include <fstream>
#include <iostream>
#include <gtest/gtest.h>
namespace vlisp::refhost::plot { namespace {
void fillSample(Drawing& d) {
    d.changeLayer(u"red").colour = 1; d.changeLayer(u"green").colour = 3;
    d.add(polyline({{0,0},{180,0},{180,100},{0,100}}, true));
    d.add(on(u"red", polyline({{10,10},{40,10},{40,30},{10,30}}, true, {0.5,0,-0.5,0})));
    d.add(on(u"green", circle({70,20},12)));
    d.add(coloured(5, arc({70,20},16,30,200)));
    d.defineBlock(u"door", {0,0}, contents(line({0,0},{10,0}), coloured(0, arc({0,0},10,0,90)), line({0,0},{0,10}), text({1,1},2,u"Dq")));
    d.add(on(u"red", insert({100,10},u"door")));
    d.add(on(u"green", insert({130,10},u"door",1,1,30)));
    d.add(coloured(6,on(u"green", insert({160,10},u"door",-1.5,1))));
    d.add(on(u"red", insert({100,30},u"door",2,0.5,20)));
    auto g = insert({130,30},u"door",.5,.5,10); g->appearance.columns=4; g->appearance.rows=2; g->appearance.columnSpacing=8; g->appearance.rowSpacing=8; d.add(std::move(g));
    d.defineBlock(u"pair", {0,0}, contents(insert({0,0},u"door",1,1,45), coloured(0,on(u"red",insert({15,0},u"door",1,2)))));
    d.add(on(u"green", insert({20,45},u"pair",1,1)));
    d.add(coloured(4,on(u"green", insert({60,45},u"pair",1.5,0.7,10))));
    auto w = polyline({{100,60},{120,60},{120,75},{105,80}}, false, {0,1}); w->appearance.width=3; d.add(coloured(30,std::move(w)));
    Path p; p.moveTo({140,60}); p.cubicTo({150,80},{160,40},{170,60}); p.lineTo({170,70}); p.lineTo({140,70}); p.close(); p.moveTo({150,66}); p.lineTo({160,66}); p.lineTo({155,69}); p.close();
    d.add(coloured(140,carried(u"HATCH", p, true)));
    d.add(text({10,80},5,u"Text %%c12 %%p0.1 Привет 日本"));
    auto t=text({10,90},4,u"centred",0); t->appearance.horizontal=4; t->appearance.alignment={60,92}; d.add(std::move(t)); d.add(circle({60,92},1));
    auto f=text({80,90},4,u"fitted",0); f->appearance.horizontal=5; f->appearance.alignment={120,95}; d.add(std::move(f)); 
    auto r=text({125,90},4,u"oblique",20); r->appearance.oblique=20; r->appearance.widthFactor=.6; d.add(std::move(r)); 
    d.add(paragraph({150,98},3,u"{\\fArial|b0;Line} one\\PLine \\C1;two\\Pthird \\S1/2; \\{x\\}"));
    auto m=text({10,70},4,u"mirrored"); m->appearance.normal={0,0,-1}; m->points.points[0]=mmPoint(-90,70,0); d.add(std::move(m));
    d.add(line({1,1},{1,1}));
}
void put(const char* n, const std::string& s){ std::ofstream(n, std::ios::binary)<<s; }
TEST(Scratch, Sample) {
    Drawing d; fillSample(d);
    Options o; o.title=u"Sample & <x>";
    auto s=draw(d,o); put("/tmp/s.svg", s.bytes); std::cout<<s.bytes.size()<<s.error<<"\n";
    o.kind=Kind::pdf; s=draw(d,o); put("/tmp/s.pdf", s.bytes);
    o.kind=Kind::png; o.dark=true; s=draw(d,o); put("/tmp/s.png", s.bytes);
    for (auto& x : s.omitted) std::cout<<x.reason<<x.count<<"\n";
    o.window=Box{100,10,140,40}; o.kind=Kind::svg; o.dark=false; s=draw(d,o); put("/tmp/w.svg", s.bytes);
}
template<class F> void timed(const char* n, F f){ auto t=std::chrono::steady_clock::now(); f(); std::cout<<n<<" "<<std::chrono::duration<double>(std::chrono::steady_clock::now()-t).count()<<"s\n"; }
TEST(Scratch, Big) {
    Drawing d; 
    for (int i=0;i<100000;++i) { double x=(i%400)*3, y=(i/400)*3; if(i%10==0) d.add(text({x,y},1,u"abc")); else if (i%3==0) d.add(arc({x,y},1,10,200)); else d.add(polyline({{x,y},{x+2,y},{x+2,y+2},{x,y+1}}, true, {0,.4})); }
    for (auto k : {Kind::svg,Kind::pdf,Kind::png}) { Options o; o.kind=k; timed("100k", [&]{ auto s=draw(d,o); std::cout<<s.bytes.size()<<s.error<<"\n"; put(k==Kind::svg?"/tmp/b.svg":k==Kind::pdf?"/tmp/b.pdf":"/tmp/b.png", s.bytes);}); }
}
TEST(Scratch, Blocks) {
    Drawing d; std::vector<std::unique_ptr<VmDbObject>> c; for (int i=0;i<1000;++i) c.push_back(line({double(i%30),double(i/30)},{double(i%30)+.7,double(i/30)+.5}));
    d.defineBlock(u"b",{0,0},std::move(c));
    for (int i=0;i<10000;++i) d.add(insert({double(i%100)*40,double(i/100)*40},u"b",1,1,i*7.0));
    for (auto k : {Kind::svg,Kind::pdf,Kind::png}) { Options o; o.kind=k; timed("blocks", [&]{ auto s=draw(d,o); std::cout<<s.bytes.size()<<s.error<<"\n"; for (auto& x : s.omitted) std::cout<<x.reason<<x.count<<"\n";}); }
}
}}
