-- The questions that people ask, as views on the shipped records. Run it after schema.sql:
--
--   psql -d wyerrlog -f queries.sql
\set ON_ERROR_STOP on
begin;
set search_path = wyerrlog, pg_temp;

-- Everything of one request over all hosts: select * from wyerrlog.requests where request = '7f3a'. Messages of
-- the error log have no request; those of the same threads at the time are in wyerrlog.request_messages.
create or replace view requests as
  select request, time, host, program, kind, pid, tid, username, event, place, text
  from records where request is not null order by time, host, program, pid, tid, position;

create or replace view request_messages as
  select span.request, m.time, m.host, m.program, m.severity, m.key, m.place, m.text
  from (select request, host, program, pid, tid, min(time) as began, max(time) as ended
        from records where request is not null group by 1, 2, 3, 4, 5) span
  join records m on m.kind = 'error' and (m.host, m.program, m.pid, m.tid) =
      (span.host, span.program, span.pid, span.tid)
    and m.time between date_trunc('second', span.began) and span.ended;

-- The requests that were refused: audit records whose event says so, or whose status is 401 or 403.
create or replace view denials as
  select time, username, host, program, event, request, fields, text
  from records
  where kind = 'audit' and (event ~* '(deny|denied|refuse|reject|fail)' or fields ->> 'status' in ('401', '403')
                            or (event is null and text ~* '\] (deny|denied|refuse|reject)'));

create or replace view messages_per_hour as
  select date_trunc('hour', time) as hour, key, severity, count(*) as messages, count(distinct host) as hosts
  from records where key is not null group by 1, 2, 3;

-- Sealed logs whose numbers have a gap: records that the store does not have (yet).
create or replace view sequence_gaps as
  select host, program, before + 1 as first_missing, sequence - 1 as last_missing, time as next_time
  from (select host, program, sequence, time,
               lag(sequence, 1, 0::bigint) over (partition by host, program order by sequence) as before
        from (select host, program, sequence, min(time) as time from records
              where sequence is not null group by 1, 2, 3) numbers) pairs
  where sequence > before + 1;

-- Sealed records with the same number and different tags: the log was forged, or log and keys were put back.
create or replace view anchor_conflicts as
  select host, program, sequence, array_agg(tag order by received) as tags, array_agg(text order by received) as texts
  from records where sequence is not null group by 1, 2, 3 having count(distinct tag) > 1;

-- What wylogctl seal verify --anchors reads.
create or replace view anchors as
  select host, program, received, sequence, sequence || ':' || tag as anchor from records where sequence is not null;

-- How far each host is, for wylogctl ship check and for an alarm.
create or replace view lag as
  select host, program, kind, max(time) as newest, max(received) as received, count(*) as records
  from records group by 1, 2, 3;

grant select on requests, request_messages, denials, messages_per_hour, sequence_gaps, anchor_conflicts, anchors,
  lag to wyerrlog_reader;
commit;
