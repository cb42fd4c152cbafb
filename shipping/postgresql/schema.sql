-- The store of shipped records in PostgreSQL 13 or later: one table, partitioned by day.
--
--   createdb --encoding=UTF8 --template=template0 wyerrlog
--   psql -d wyerrlog -f schema.sql
--
-- Every collector inserts the same texts into the view wyerrlog.incoming. Its trigger converts them,
-- computes the record's identity and inserts the row, unless it is there already: a collector that
-- sends a record again after a failure does no harm. A value that cannot be converted is null; it
-- never makes the insertion fail, because that would stop the queue of the collector. The text of
-- the record is always stored. Indexed columns are cut to 500 characters, because an index refuses
-- long values; the whole value is in the text.
--
-- Running the file again updates the functions and views, and keeps the records.

\set ON_ERROR_STOP on
begin;

create schema if not exists wyerrlog;
set search_path = wyerrlog, pg_temp;

create table if not exists records (
  day       date not null,         -- of the record's own time, as written; -infinity without one
  id        uuid not null,         -- the record's identity, see identity() below
  received  timestamptz not null default now(),
  time      timestamptz,
  host      text not null,
  program   text not null,
  kind      text not null,         -- error, trace, audit
  file      text,                  -- as it was named when it was read
  position  bigint,                -- in the file, as the collector reports it
  pid       bigint,
  tid       bigint,
  severity  text,
  place     text,
  key       text,
  request   text,
  username  text,
  event     text,
  sequence  bigint,                -- of sealed audit records
  tag       text,
  text      text not null,
  fields    jsonb,                 -- of traces in the layout Json and of typed audit records
  primary key (id, day)
) partition by range (day);

create index if not exists records_time on records (time);
create index if not exists records_received on records (host, program, received);
create index if not exists records_key on records (key, time) where key is not null;
create index if not exists records_request on records (request) where request is not null;
create index if not exists records_username on records (username, time) where username is not null;
create index if not exists records_sequence on records (host, program, sequence)
  where sequence is not null;

-- Records without a time of their own. A date of arrival would differ if a record is sent again after
-- midnight, and the record would be stored twice.
create table if not exists records_undated partition of records
  for values from (minvalue) to ('0001-01-01');

create table if not exists setting (name text primary key, value text not null);
insert into setting values ('keep_days', '30') on conflict do nothing;

-- Functions that run for each record are in PL/pgSQL, which keeps their plans.
create or replace function keep_days() returns integer language plpgsql stable as $$
begin
  return (select value::integer from wyerrlog.setting where name = 'keep_days');
end $$;

-- Creates the partition of a day. ATTACH, unlike CREATE ... PARTITION OF, does not wait for the
-- transactions that are inserting rows.
create or replace function create_partition(wanted date) returns void
  language plpgsql set search_path = wyerrlog, pg_temp as $$
declare
  name text := 'records_' || to_char(wanted, 'YYYYMMDD');
begin
  perform pg_advisory_xact_lock(hashtext('wyerrlog.create_partition'));
  if to_regclass(name) is not null then return; end if;
  execute format('create table %I (like records including defaults including constraints)', name);
  execute format('alter table records attach partition %I for values from (%L) to (%L)',
                 name, wanted, wanted + 1);
end $$;

-- Run this daily: creates the partitions of the next days, and deletes what is older than keep_days.
create or replace procedure maintain() language plpgsql set search_path = wyerrlog, pg_temp as $$
declare
  old regclass;
begin
  for ahead in 0..3 loop
    perform create_partition(current_date + ahead);
  end loop;
  for old in
    select inhrelid::regclass from pg_inherits
    where inhparent = 'records'::regclass and inhrelid::regclass::text ~ '^records_[0-9]{8}$'
      and to_date(right(inhrelid::regclass::text, 8), 'YYYYMMDD') < current_date - keep_days()
  loop
    execute format('drop table %s', old);
  end loop;
  delete from records_undated where received < now() - make_interval(days => keep_days());
end $$;

-- The value of a text, or null if it is none.
create or replace function to_bigint(value text) returns bigint language plpgsql immutable as $$
begin
  return case when value ~ '^-?[0-9]{1,18}$' then value::bigint end;
end $$;

-- The forms of the logs: "Mon Nov 16 2026 17:16:13", "11/16/2026 17:16:13.123" and ISO 8601. A text
-- without a zone is in the given one.
create or replace function to_moment(value text, zone text) returns timestamptz
  language plpgsql stable as $$
begin
  if value ~ '^[A-Z][a-z]{2} [A-Z][a-z]{2} [0-9]{2} [0-9]{4} ' then
    return to_timestamp(substr(value, 5), 'Mon DD YYYY HH24:MI:SS')::timestamp at time zone zone;
  elsif value ~ '^[0-9]{2}/[0-9]{2}/[0-9]{4} ' then
    return to_timestamp(value, 'MM/DD/YYYY HH24:MI:SS.MS')::timestamp at time zone zone;
  elsif value ~ '^[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:.]+(Z|[-+][0-9]{2}:[0-9]{2})$' then
    return value::timestamptz;
  end if;
  return null;
exception when others then
  return null;
end $$;

-- JSON text as jsonb, which has neither a zero character nor half a surrogate pair: they become U+FFFD.
create or replace function to_fields(value text) returns jsonb language plpgsql immutable as $$
begin
  return value::jsonb;
exception when others then
  begin
    return regexp_replace(value, '(?<!\\)((?:\\\\)*)\\u(?:0000|[dD][89a-fA-F]..)', '\1\\ufffd', 'g')::jsonb;
  exception when others then
    return null;
  end;
end $$;

-- The fields name=value of an audit record in the format logfmt, whose values are JSON values. Those
-- before the event's name are columns of their own.
create or replace function logfmt_fields(value text) returns jsonb language sql stable as $$
  select jsonb_object_agg(pair[1], wyerrlog.to_fields(pair[2]))
  from regexp_matches(
    regexp_replace(value, '^time=[^ ]+ pid=[0-9]+ tid=[0-9]+ (request="([^"\\]|\\.)*" )?event="([^"\\]|\\.)*"', ''),
    '(?:^| )([A-Za-z0-9_.-]{1,72})=("(?:[^"\\]|\\.)*"|[^ "]+)(?= |\t|$)', 'g') pair
$$;

-- A record's identity. Sealed records have their number and their tag, which no other record has. All
-- others have their text and their position. rsyslog reports the position of a record of several lines
-- differently when it reads the record again, so the position of such a record does not count.
create or replace function identity(host text, program text, kind text, place_in_file text,
                                    record text, sequence bigint, tag text) returns uuid
  language plpgsql immutable as $$
begin
  return encode(substr(sha256(convert_to(concat_ws(E'\x1f', host, program, kind,
    case when sequence is not null then 'sealed ' || sequence || ' ' || tag
         when position(E'\n' in record) > 0 then 'lines ' || record
         else 'at ' || coalesce(place_in_file, '') || ' ' || record end), 'UTF8')), 1, 16),
    'hex')::uuid;
end $$;

-- What collectors insert into. All columns are texts; empty means "not known".
create or replace view incoming as
  select ''::text as host, ''::text as program, ''::text as kind, ''::text as file,
         ''::text as position, ''::text as zone, ''::text as text, ''::text as time,
         ''::text as pid, ''::text as tid, ''::text as severity, ''::text as place,
         ''::text as key, ''::text as request, ''::text as username, ''::text as event;

create or replace function add_record() returns trigger
  language plpgsql security definer set search_path = wyerrlog, pg_temp
  set enable_seqscan = off  -- a plan made while a partition was empty would read all of it later
as $$
declare
  r records;
  seal text[] := regexp_match(new.text, '\t~([0-9]{1,18})~([A-Za-z0-9_-]{22})$');
  plain text := new.text;
begin
  if new.kind = 'audit' and seal is not null then
    r.sequence := seal[1]::bigint;
    r.tag := seal[2];
    plain := left(new.text, -length(seal[1]) - 25);
  end if;
  r.host := left(new.host, 255);
  r.program := left(new.program, 255);
  r.kind := left(new.kind, 255);
  r.position := to_bigint(new.position);
  r.text := new.text;
  r.time := to_moment(new.time, coalesce(nullif(new.zone, ''), 'UTC'));

  -- A time far away is not that of a partition: a clock that is wrong must not create thousands.
  r.day := (r.time at time zone 'UTC')::date;
  if r.day is null or r.day not between current_date - keep_days() and current_date + 2 then
    r.day := '-infinity';
  end if;
  r.id := identity(r.host, r.program, r.kind, r.position::text, r.text, r.sequence, r.tag);
  if exists (select from records o where o.id = r.id and o.day = r.day) then
    return new;  -- before the work of parsing
  end if;

  r.received := clock_timestamp();
  r.file := nullif(new.file, '');
  r.pid := to_bigint(new.pid);
  r.tid := to_bigint(new.tid);
  r.severity := left(nullif(new.severity, ''), 500);
  r.place := left(nullif(new.place, ''), 500);
  r.key := left(nullif(new.key, ''), 500);
  r.event := left(nullif(new.event, ''), 500);
  if plain like '{%' then
    r.fields := to_fields(plain);
    r.fields := case when new.kind = 'audit' then r.fields -> 'fields' else r.fields end;
  elsif new.kind = 'audit' then
    r.fields := logfmt_fields(plain);
  end if;
  r.request := left(coalesce(r.fields ->> 'TransactionID', nullif(new.request, '')), 500);
  r.username := left(coalesce(r.fields ->> 'User', r.fields ->> 'user', nullif(new.username, '')), 500);
  if isfinite(r.day) and to_regclass('records_' || to_char(r.day, 'YYYYMMDD')) is null then
    perform create_partition(r.day);
  end if;
  insert into records values (r.*) on conflict do nothing;
  return new;
end $$;

drop trigger if exists add_record on incoming;
create trigger add_record instead of insert on incoming
  for each row execute function add_record();

-- Collectors insert into the view, and can neither read nor change anything. Readers read.
do $$
begin
  if not exists (select from pg_roles where rolname = 'wyerrlog_shipper') then
    create role wyerrlog_shipper login;
  end if;
  if not exists (select from pg_roles where rolname = 'wyerrlog_reader') then
    create role wyerrlog_reader nologin;
  end if;
end $$;
revoke all on all tables in schema wyerrlog from public;
revoke all on all functions in schema wyerrlog from public;
revoke all on all procedures in schema wyerrlog from public;
grant usage on schema wyerrlog to wyerrlog_shipper, wyerrlog_reader;
grant insert on incoming to wyerrlog_shipper;
grant select on records to wyerrlog_reader;

call maintain();
commit;
