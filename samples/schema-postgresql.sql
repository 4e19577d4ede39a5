-- The tables of the sample trading company for PostgreSQL. Load with: psql --file schema-postgresql.sql DATABASE
-- The rows come from the program odbc-sample-data.

CREATE TABLE customer (
  no INTEGER NOT NULL PRIMARY KEY,
  name VARCHAR(80) NOT NULL,
  city VARCHAR(60),
  address VARCHAR(100),
  phone VARCHAR(30),
  created DATE NOT NULL,
  credit_limit DECIMAL(12, 2),
  blocked BOOLEAN NOT NULL,
  balance DOUBLE PRECISION NOT NULL,
  note TEXT
);

CREATE INDEX customer_name ON customer (name);
CREATE INDEX customer_created ON customer (created);

CREATE TABLE item (
  no VARCHAR(20) NOT NULL PRIMARY KEY,
  description VARCHAR(80) NOT NULL,
  unit_price DECIMAL(12, 4) NOT NULL,
  weight REAL,
  picture BYTEA
);

CREATE TABLE sales_order (
  order_no INTEGER NOT NULL PRIMARY KEY,
  order_code VARCHAR(20) NOT NULL,
  customer_no INTEGER NOT NULL REFERENCES customer (no),
  order_date DATE NOT NULL,
  shipped TIMESTAMP(0),
  status CHAR(1) NOT NULL
);
CREATE INDEX sales_order_date ON sales_order (order_date);
CREATE INDEX sales_order_customer ON sales_order (customer_no);
CREATE UNIQUE INDEX sales_order_code ON sales_order (order_code);

CREATE TABLE order_line (
  order_no INTEGER NOT NULL REFERENCES sales_order (order_no),
  line_no INTEGER NOT NULL,
  item_no VARCHAR(20) NOT NULL REFERENCES item (no),
  quantity INTEGER NOT NULL,
  amount DECIMAL(14, 2) NOT NULL,
  PRIMARY KEY (order_no, line_no)
);
CREATE INDEX order_line_item ON order_line (item_no);

CREATE TABLE employee (
  no INTEGER NOT NULL PRIMARY KEY,
  code VARCHAR(8) NOT NULL,
  name VARCHAR(60) NOT NULL,
  manager_no INTEGER REFERENCES employee (no),
  hired DATE NOT NULL,
  lunch TIME
);
CREATE UNIQUE INDEX employee_code ON employee (code);

-- Without a key on purpose: a row is known by its number and its date together.
CREATE TABLE journal (
  entry_no INTEGER NOT NULL,
  posting_date DATE NOT NULL,
  account VARCHAR(20),
  description VARCHAR(80),
  amount DECIMAL(12, 2)
);

CREATE TABLE all_types (
  id INTEGER NOT NULL PRIMARY KEY,
  smallint_value SMALLINT,
  integer_value INTEGER,
  bigint_value BIGINT,
  large_value BIGINT,
  real_value REAL,
  double_value DOUBLE PRECISION,
  decimal_value DECIMAL(18, 6),
  numeric_value NUMERIC(9, 2),
  boolean_value BOOLEAN,
  date_value DATE,
  time_value TIME,
  timestamp_value TIMESTAMP(0),
  fraction_value TIMESTAMP,
  char_value CHAR(8),
  varchar_value VARCHAR(40),
  text_value TEXT,
  binary_value BYTEA,
  varbinary_value BYTEA,
  blob_value BYTEA,
  uuid_value UUID,
  timestamptz_value TIMESTAMP WITH TIME ZONE,
  interval_value INTERVAL
);

CREATE TABLE "Odd ""Table"" [Name]" (
  "key no" INTEGER NOT NULL PRIMARY KEY,
  "it's" VARCHAR(40) NOT NULL,
  "say ""hi""" VARCHAR(40),
  "a [bracket]" INTEGER,
  "back`tick" VARCHAR(40),
  "größe" DECIMAL(8, 2)
);

CREATE VIEW customer_balance AS
SELECT c.no AS customer_no,
       c.name AS customer_name,
       c.balance AS balance,
       (SELECT COUNT(*) FROM sales_order o WHERE o.customer_no = c.no) AS order_count,
       (SELECT ROUND(SUM(l.amount), 2)
          FROM sales_order o JOIN order_line l ON l.order_no = o.order_no
         WHERE o.customer_no = c.no AND o.status = 'O') AS open_amount
  FROM customer c;
