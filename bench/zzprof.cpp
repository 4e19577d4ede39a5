// temporary
#include <cstdlib>
#include <iostream>
#include <time.h>
#include <valgrind/callgrind.h>
#include "pages/Tables.h"
#include "pages/Tables.cpp"  // NOLINT
#include "common/ComponentRegistry.h"
#include "log/Trace.h"
#include "platform/ado/Ado.h"
#include "server/modConnect.h"
#include "tabledata/modTableData.h"
#include "tabledata/modExactTableData.h"
#include "ui/HeadlessUserInterface.h"
using namespace ods;
static double cpu(){timespec t{};clock_gettime(CLOCK_PROCESS_CPUTIME_ID,&t);return double(t.tv_sec)*1e6+double(t.tv_nsec)*1e-3;}
static double wall(){timespec t{};clock_gettime(CLOCK_MONOTONIC,&t);return double(t.tv_sec)*1e6+double(t.tv_nsec)*1e-3;}
int main(int argc,char**argv){
  std::string product=argv[1]; std::string conn=argv[2]; bool exact=atoi(argv[3])!=0; int size=atoi(argv[4]); int n=atoi(argv[5]);
  HeadlessUserInterface ui; Tracer tracer(ui); ComponentRegistry components; components.Register("ADODB.Connection", CreateOdbcConnection);
  ProcessState state; state.ui=&ui; state.tracer=&tracer; state.components=&components; state.exact=exact; state.limits.statementSeconds=0;
  Database db=ConnectDatabase(state,conn); DataSession& s=*db.session;
  if(argc>6){ bench::MakeTable(s,product,10000); }
  auto run=exact?&ExactTableData:&TableData;
  auto ask=[&](const std::string& r){ XmlDocument resp; run(XmlDocument(r),resp,s); return resp.Xml();};
  std::string one=ask(bench::RowBeforePage(10000,size,bench::kPlaces[bench::kMiddle]));
  std::string pos=GetNodeText(XmlDocument(one),"/XML/LastPosition");
  std::string req=bench::PageRequest(10000,size,bench::kPlaces[bench::kMiddle],pos);
  for(int i=0;i<3;i++) ask(req);
  double c=cpu(),w=wall();
  CALLGRIND_ZERO_STATS;
  std::size_t bytes=0;
  for(int i=0;i<n;i++) bytes=ask(req).size();
  CALLGRIND_DUMP_STATS;
  std::cout<<product<<(exact?" exact ":" plain ")<<size<<": cpu "<<(cpu()-c)/n<<" us, wall "<<(wall()-w)/n<<" us, bytes "<<bytes<<"\n";
}
