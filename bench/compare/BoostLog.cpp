// Boost.Log with a synchronous sink that is flushed at every record, so that the system has
// accepted a record when the call returns.

#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/log/attributes/clock.hpp>
#include <boost/log/attributes/current_process_id.hpp>
#include <boost/log/attributes/current_thread_id.hpp>
#include <boost/log/core.hpp>
#include <boost/log/expressions.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/log/sinks/text_file_backend.hpp>
#include <boost/log/sources/record_ostream.hpp>
#include <boost/log/sources/severity_logger.hpp>
#include <boost/log/support/date_time.hpp>
#include <boost/log/trivial.hpp>
#include <boost/log/utility/manipulators/add_value.hpp>

#include "bench/compare/Contestant.h"

namespace compare {

namespace {

namespace attrs = boost::log::attributes;
namespace expr = boost::log::expressions;
namespace keywords = boost::log::keywords;
namespace sinks = boost::log::sinks;
namespace trivial = boost::log::trivial;

boost::shared_ptr<sinks::text_file_backend> NewBackend(const Workload& workload) {
  auto pBackend = boost::make_shared<sinks::text_file_backend>(
      keywords::file_name = workload.strPath, keywords::open_mode = std::ios_base::app);
  pBackend->auto_flush(true);
  if (workload.fileKind != FileKind::Plain) {
    pBackend->set_rotation_size(std::uintmax_t{SizeLimit} * 1024 * 1024);
  }
  return pBackend;
}

class Written : public Contestant {
 public:
  explicit Written(const Workload& workload) {
    const auto pSink =
        boost::make_shared<sinks::synchronous_sink<sinks::text_file_backend>>(NewBackend(workload));
    pSink->set_formatter(
        expr::stream << "[" << expr::attr<attrs::current_process_id::value_type>("Process") << "/"
                     << expr::attr<attrs::current_thread_id::value_type>("Thread") << "]["
                     << expr::format_date_time<boost::posix_time::ptime>("Time",
                                                                         "%a %b %d %Y %H:%M:%S")
                     << "][" << expr::attr<std::string>("File") << ":" << expr::attr<int>("Line")
                     << "][" << trivial::severity << "] " << expr::smessage);
    const boost::shared_ptr<boost::log::core> pCore = boost::log::core::get();
    pCore->add_global_attribute("Process", attrs::current_process_id());
    pCore->add_global_attribute("Thread", attrs::current_thread_id());
    pCore->add_global_attribute("Time", attrs::utc_clock());
    pCore->set_filter(trivial::severity >= trivial::warning);
    pCore->add_sink(pSink);
  }

  void Log(const Records& records) override {
    for (const Record& record : records) {
      BOOST_LOG_SEV(m_logger, trivial::warning)
          << boost::log::add_value("File", "BoostLog.cpp")
          << boost::log::add_value("Line", __LINE__) << COMPARE_TEXT(record);
    }
  }

 protected:
  boost::log::sources::severity_logger_mt<trivial::severity_level> m_logger;
};

class SwitchedOff : public Written {
 public:
  using Written::Written;

  void Log(const Records& records) override {
    for (const Record& record : records) {
      BOOST_LOG_SEV(m_logger, trivial::debug) << COMPARE_TEXT(record);
    }
  }
};

}  // namespace

std::unique_ptr<Contestant> NewContestant(const Workload& workload) {
  return NewPeer<Written, SwitchedOff>(workload);
}

}  // namespace compare
