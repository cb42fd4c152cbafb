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

-- What wylogctl report makes a page of, one JSON object a row: totals, counts for each step of time, the most
-- frequent messages, refused users, and hosts. Times are seconds since 1970, and steps are such that there are
-- at most 120. The last row says that the answer is complete.
create or replace function report(since timestamptz, until timestamptz default now(), of_host text default null)
  returns setof jsonb language plpgsql stable set search_path = wyerrlog, pg_temp as $$
declare
  seconds constant bigint := greatest(extract(epoch from until - since), 1);
  step constant bigint := coalesce((select min(s) from unnest('{60,300,900,3600,10800,21600,86400,604800}'::bigint[]) s
                                    where s * 120 >= seconds), 2592000);
  most constant integer := 20;  -- rows of a table
begin
  return query select jsonb_build_object('what', 'report', 'v', 1, 'since', extract(epoch from since)::bigint, 'until',
    extract(epoch from until)::bigint, 'made', extract(epoch from now())::bigint, 'step', step, 'host', of_host);

  return query select jsonb_build_object('what', 'total', 'records', count(*), 'requests', count(distinct request),
      'errors', count(*) filter (where severity = 'ERROR'), 'warnings', count(*) filter (where severity = 'WARNING'),
      'hosts', count(distinct host), 'refusals',
      (select count(*) from denials d where d.time >= since and d.time < until and d.host = coalesce(of_host, d.host)))
    from records where time >= since and time < until and host = coalesce(of_host, host);

  -- A request counts where it begins.
  return query with began as (
      select min(time) as time from records
      where request is not null and time >= since and time < until and host = coalesce(of_host, host) group by request)
    select jsonb_build_object('what', 'requests', 'at', extract(epoch from time)::bigint / step * step, 'count', count(*))
    from began group by extract(epoch from time)::bigint / step * step;

  return query select jsonb_build_object('what', 'refusals', 'at', extract(epoch from time)::bigint / step * step,
      'count', count(*))
    from denials where time >= since and time < until and host = coalesce(of_host, host)
    group by extract(epoch from time)::bigint / step * step;

  return query select jsonb_build_object('what', lower(severity) || 's', 'key', key, 'at',
      extract(epoch from time)::bigint / step * step,
      'count', count(*))
    from records where severity in ('ERROR', 'WARNING') and time >= since and time < until
      and host = coalesce(of_host, host)
    group by severity, key, extract(epoch from time)::bigint / step * step;

  return query select jsonb_build_object('what', 'message', 'key', key, 'severity', severity, 'count', count(*), 'hosts',
      count(distinct host), 'last', extract(epoch from max(time))::bigint,
      'text', left((array_agg(text order by time desc))[1], 500))
    from records where severity in ('ERROR', 'WARNING') and time >= since and time < until
      and host = coalesce(of_host, host)
    group by key, severity order by severity, count(*) desc, key limit most;

  return query select jsonb_build_object('what', 'user', 'username', username, 'count', count(*), 'hosts',
      count(distinct host), 'last', extract(epoch from max(time))::bigint)
    from denials where time >= since and time < until and host = coalesce(of_host, host)
    group by username order by count(*) desc, username limit most;

  return query select jsonb_build_object('what', 'host', 'host', host, 'records', count(*), 'requests',
      count(distinct request), 'errors', count(*) filter (where severity = 'ERROR'),
      'last', extract(epoch from max(time))::bigint)
    from records where time >= since and time < until and host = coalesce(of_host, host)
    group by host order by count(*) desc, host limit most;

  return query select jsonb_build_object('what', 'end');
end $$;
revoke all on function report(timestamptz, timestamptz, text) from public;
grant execute on function report(timestamptz, timestamptz, text) to wyerrlog_reader;

grant select on requests, request_messages, denials, messages_per_hour, sequence_gaps, anchor_conflicts, anchors,
  lag to wyerrlog_reader;
commit;
