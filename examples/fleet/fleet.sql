-- Exports of texprobectl in PostgreSQL (13 or newer), and four views of them. Needs no superuser.
--   psql -f examples/fleet/fleet.sql
--   examples/fleet/load-exports FOLDER
-- A machine is a file: n1.json is the machine n1. Its record sets of earlier builds stay when it is loaded again.

-- The 96 verdicts of a record set. Most sets of a driver have the same, which are kept once: pattern is their hash.
CREATE TABLE fleet_tests (
    pattern bytea, format text, capability text,
    verdict text NOT NULL CONSTRAINT is_a_verdict
        CHECK (verdict IN ('yes', 'no', 'unmeasured', 'not_applicable', 'crashed', 'hung')),
    PRIMARY KEY (pattern, format, capability)
);

-- The verdicts of a survey, kept once likewise. A kind of context that was not offered has none. layout: how the texels
-- travel, as in GL_RGBA GL_UNSIGNED_BYTE; empty where none do.
CREATE TABLE fleet_uses (
    pattern bytea, profile text, format text, use text, layout text, verdict text NOT NULL,
    PRIMARY KEY (pattern, profile, format, use, layout)
);

-- The numbers of a driver's version, which compare as they should: 4.5 Mesa 9.2.5 is {4,5,9,2,5,0}, older than 22.3.6.
-- What comes before a release is below the 0 at its end: 25.0.0-rc1 is {25,0,0,-1,1,0}. Longer numbers are none.
CREATE FUNCTION fleet_version(gl_version text) RETURNS numeric[] LANGUAGE sql IMMUTABLE AS $$
    SELECT array_agg(number::numeric ORDER BY place, part) || 0.0
    FROM regexp_split_to_table(regexp_replace(lower(gl_version), '([0-9])(devel|alpha|beta|rc)', '\1-\2', 'g'),
                               '[^0-9a-z.]+') WITH ORDINALITY AS words (word, place),
         regexp_match(word, '^(rc|beta|alpha|devel)?[.]?([0-9.]*)$') AS found,
         regexp_split_to_table(concat_ws('.', -array_position('{rc,beta,alpha,devel}'::text[], found[1]), found[2]),
                               '[.]') WITH ORDINALITY AS parts (number, part)
    WHERE number ~ '^-?[0-9]{1,99}$'
$$;

-- The record sets of all loads. present: of the build that the machine had when it was loaded last.
CREATE TABLE fleet_sets (
    machine text, id text, loaded timestamptz NOT NULL DEFAULT now(), present boolean NOT NULL,
    renderer_id text NOT NULL, renderer text NOT NULL, gl_version text,
    version numeric[] GENERATED ALWAYS AS (fleet_version(gl_version)) STORED,
    pattern bytea NOT NULL,
    survey bytea,
    PRIMARY KEY (machine, id)
);
CREATE UNIQUE INDEX ON fleet_sets (machine, renderer_id) WHERE present;

-- The documents that were not loaded. One that is loaded later is no longer here.
CREATE TABLE fleet_refused (machine text PRIMARY KEY, reason text NOT NULL, loaded timestamptz NOT NULL DEFAULT now());

-- One line of load-exports: a machine and its document. Each byte is a character: some are no text of the database's.
CREATE TABLE fleet_lines (machine text, document text);

-- The needs of the fleet's owner, for fleet_excluded: rows such as ('GL_RGBA16F_ARB', 'download_read').
CREATE TABLE fleet_wanted (format text, capability text, PRIMARY KEY (format, capability));

CREATE FUNCTION fleet_refuse(is_wrong boolean, reason text) RETURNS void LANGUAGE plpgsql AS $$
BEGIN
    IF is_wrong IS DISTINCT FROM false THEN
        RAISE EXCEPTION USING ERRCODE = 'data_exception', MESSAGE = reason;
    END IF;
END $$;

-- Takes one record set of a document.
CREATE FUNCTION fleet_take_set(machine text, set jsonb) RETURNS void LANGUAGE plpgsql AS $$
DECLARE
    hash bytea := sha256(convert_to((set -> 'formats')::text, 'UTF8'));
    survey_hash bytea := sha256(convert_to((set -> 'survey' -> 'profiles')::text, 'UTF8'));
BEGIN
    PERFORM fleet_refuse(jsonb_typeof(set -> 'formats') <> 'array', 'the formats of a record set are no list');
    PERFORM fleet_refuse(jsonb_array_length(set -> 'formats') <> 16, 'a record set has not sixteen formats');
    PERFORM fleet_refuse(jsonb_typeof(set -> 'present') <> 'boolean', 'present is neither true nor false');
    INSERT INTO fleet_sets (machine, id, present, renderer_id, renderer, gl_version, pattern, survey)
        VALUES (machine, set ->> 'id', (set ->> 'present')::boolean, set ->> 'renderer_id',
                coalesce(set ->> 'renderer', 'unknown'), set ->> 'gl_version', hash, survey_hash);
    INSERT INTO fleet_tests
        SELECT hash, format ->> 'name', capability, format ->> capability
        FROM jsonb_array_elements(set -> 'formats') AS format,
             unnest(ARRAY['supported', 'renderable', 'upload_set', 'upload_reset', 'download_get', 'download_read'])
                 AS capability
        WHERE NOT EXISTS (SELECT FROM fleet_tests WHERE pattern = hash);
    INSERT INTO fleet_uses
        SELECT survey_hash, profile ->> 'profile', format ->> 'name', use, layout, verdict
        FROM jsonb_array_elements(set -> 'survey' -> 'profiles') AS profile,
             jsonb_array_elements(profile -> 'formats') AS format,
             LATERAL (SELECT '' AS layout, format - 'name' - 'layouts' AS uses
                      UNION ALL
                      SELECT concat_ws(' ', travels ->> 'format', travels ->> 'type'), travels - 'format' - 'type'
                      FROM jsonb_array_elements(format -> 'layouts') AS travels) AS asked,
             jsonb_each_text(uses) AS each (use, verdict)
        WHERE NOT EXISTS (SELECT FROM fleet_uses WHERE pattern = survey_hash);
END $$;

-- Moves the lines into the sets, and returns how many documents there were. What is odd about a document does not keep
-- the others out: it goes into fleet_refused. What is wrong with the server ends the load, and nothing is changed.
-- Without jit, because the server would compile the queries anew for each document, which takes longer than all else.
CREATE FUNCTION fleet_take_lines() RETURNS bigint LANGUAGE plpgsql SET jit = off AS $$
DECLARE
    line fleet_lines;
    document jsonb;
    taken bigint := 0;
BEGIN
    -- Two loads at once could wait for each other's machines.
    LOCK TABLE fleet_sets IN SHARE ROW EXCLUSIVE MODE;
    FOR line IN SELECT * FROM fleet_lines LOOP
        BEGIN
            line.machine := convert_from(convert_to(line.machine, 'LATIN1'), 'UTF8');
            PERFORM fleet_refuse(line.machine ~ '[\u0001-\u001f\u007f]', 'its name has control characters');
            document := convert_from(convert_to(line.document, 'LATIN1'), 'UTF8');
            PERFORM fleet_refuse((document ->> 'schema', document ->> 'schema_version' IN ('1', '2'),
                                  jsonb_typeof(document -> 'record_sets'))
                                 IS DISTINCT FROM ('texprobe-records', true, 'array'),
                                 'it is not a document of texprobectl export that this understands');
            PERFORM fleet_refuse(document -> 'record_sets' = '[]', 'it has no record set');
            DELETE FROM fleet_sets USING jsonb_array_elements(document -> 'record_sets') AS set
                WHERE machine = line.machine AND id = set ->> 'id';
            UPDATE fleet_sets SET present = false WHERE machine = line.machine AND present;
            PERFORM fleet_take_set(line.machine, set) FROM jsonb_array_elements(document -> 'record_sets') AS set;
            DELETE FROM fleet_refused WHERE machine = line.machine;
            taken := taken + 1;
        EXCEPTION WHEN data_exception OR integrity_constraint_violation OR program_limit_exceeded THEN
            INSERT INTO fleet_refused VALUES (line.machine, left(SQLERRM, 200))
                ON CONFLICT (machine) DO UPDATE SET reason = excluded.reason, loaded = excluded.loaded;
        END;
    END LOOP;
    DELETE FROM fleet_lines;
    RETURN taken;
END $$;

-- One row for each verdict of each machine.
CREATE VIEW fleet_verdicts AS
SELECT machine, loaded, renderer_id, renderer, gl_version, present, format, capability, verdict
FROM fleet_sets JOIN fleet_tests USING (pattern);

-- On how many machines, and on what share of those with this renderer, a capability has a verdict.
CREATE VIEW fleet_shares AS
WITH patterns AS (
    SELECT renderer_id, renderer, pattern, count(*) AS machines
    FROM fleet_sets WHERE present GROUP BY renderer_id, renderer, pattern
)
SELECT renderer_id, renderer, format, capability, verdict, sum(machines)::bigint AS machines,
       round(100.0 * sum(machines)
             / sum(sum(machines)) OVER (PARTITION BY renderer_id, renderer, format, capability), 1) AS percent
FROM patterns JOIN fleet_tests USING (pattern)
GROUP BY renderer_id, renderer, format, capability, verdict;

-- What worked on all machines with the version before, and does not on some with this one. Crashes and hangs count as
-- not working, and so does a capability that needs another one that does not work. Untested verdicts say nothing. Each
-- machine counts once for each version that it had, with what it had loaded last.
CREATE VIEW fleet_broken AS
WITH newest AS (
    SELECT DISTINCT ON (renderer_id, version, gl_version, machine) renderer_id, renderer, version, gl_version, pattern
    FROM fleet_sets
    WHERE gl_version IS NOT NULL
    ORDER BY renderer_id, version, gl_version, machine, present DESC, loaded DESC, id DESC
), patterns AS (
    SELECT renderer_id, max(renderer) AS renderer, version, gl_version, pattern, count(*) AS machines
    FROM newest
    GROUP BY renderer_id, version, gl_version, pattern
), versions AS (
    SELECT renderer_id, max(renderer) AS renderer, format, capability, version, gl_version,
           coalesce(sum(machines) FILTER (WHERE verdict <> 'yes'), 0)::bigint AS machines_broken,
           sum(machines)::bigint AS machines
    FROM patterns JOIN fleet_tests USING (pattern)
    WHERE verdict <> 'unmeasured'
    GROUP BY renderer_id, format, capability, version, gl_version
), steps AS (
    SELECT *, lag(gl_version) OVER older AS works_in, lag(machines_broken) OVER older AS broken_before
    FROM versions
    WINDOW older AS (PARTITION BY renderer_id, format, capability ORDER BY version, gl_version)
)
SELECT renderer_id, renderer, format, capability, works_in, gl_version AS broken_in, machines_broken, machines
FROM steps
WHERE broken_before = 0 AND machines_broken > 0;

-- Renderers and versions on which something that is wanted does not work, or is in doubt, on any machine.
CREATE VIEW fleet_excluded AS
SELECT renderer_id, renderer, gl_version, count(DISTINCT machine) AS machines,
       string_agg(DISTINCT format || ' ' || capability || ' ' || verdict, ', ') AS reasons
FROM fleet_verdicts JOIN fleet_wanted USING (format, capability)
WHERE present AND verdict <> 'yes'
GROUP BY renderer_id, renderer, gl_version;

-- On how many machines a use of a format has a verdict in the survey.
CREATE VIEW fleet_survey AS
SELECT renderer_id, renderer, profile, format, use, layout, verdict, count(*) AS machines
FROM fleet_sets JOIN fleet_uses ON fleet_uses.pattern = survey
WHERE present
GROUP BY renderer_id, renderer, profile, format, use, layout, verdict;
